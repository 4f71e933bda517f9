// Prints a line for each exported function: its name, and a hash of what the library does when it is called. Libraries
// from different compilers print the same.
#include <cinttypes>
#include <cstdio>

#include "support/effects.h"

int main() {
    for (const support::Effect& effect : support::effects(0)) {
        uint64_t hash = 0xcbf29ce484222325; // FNV-1a
        for (const char byte : effect.seen)
            hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
        std::printf("%s\t%016" PRIx64 "\n", effect.name.c_str(), hash);
    }
}
