// Prints the files that the generator writes for the program, as a list for CMake. The build compiles and runs this
// program while it configures.
#include <cstdio>

#include "catalog/rows.h"
#include "generator/files.h"

int main() {
    const char* separator = "";
    for (const generator::File& file : generator::files(catalog::program)) {
        std::printf("%s%s", separator, file.path.c_str());
        separator = ";";
    }
}
