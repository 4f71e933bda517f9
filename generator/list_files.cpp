// Prints the files that the generator writes for the program, as a list for CMake. The build compiles and runs this
// program while it configures.
#include <cstdio>

#include "catalog/rows.h"
#include "generator/files.h"

int main() {
    for (const generator::File& file : generator::files(catalog::program))
        std::printf("%s;", file.path.c_str());
}
