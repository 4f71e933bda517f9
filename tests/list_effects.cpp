// Prints a line for each exported function: its name, and a hash of what the library does when it is called. Given the
// file of such lines, prints what differs instead. Every compiler's library does the same.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <fstream>

#include "support/effects.h"

int main(int argc, char** argv) {
    std::map<std::string, std::string> found, differing;
    for (const support::Effect& effect : support::effects(0)) {
        uint64_t hash = 0xcbf29ce484222325; // FNV-1a
        for (const char byte : effect.seen)
            hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
        char text[17];
        std::snprintf(text, sizeof text, "%016" PRIx64, hash);
        found[effect.name] = text;
    }
    if (argc == 1) {
        for (const auto& [name, hash] : found)
            std::printf("%s\t%s\n", name.c_str(), hash.c_str());
        return 0;
    }

    std::ifstream list(argv[1]);
    std::map<std::string, std::string> wanted;
    for (std::string name, hash; std::getline(list, name, '\t') && std::getline(list, hash);)
        wanted[name] = hash;
    std::set_symmetric_difference(found.begin(), found.end(), wanted.begin(), wanted.end(),
                                  std::inserter(differing, differing.end()));
    for (const auto& [name, hash] : differing)
        std::printf("%s: %s\n", name.c_str(),
                    !wanted.contains(name)  ? "is new"
                    : !found.contains(name) ? "is gone"
                                            : "does something else");
    if (!differing.empty())
        std::printf("%zu functions differ from %s. If that is meant, write it anew: %s >%s\n", differing.size(),
                    argv[1], argv[0], argv[1]);
    return differing.empty() ? 0 : 1;
}
