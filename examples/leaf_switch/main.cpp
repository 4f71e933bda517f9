// The command leaf_switch: brings the switch up, prints what it made, shows the switch at work, and takes it down.
// Exits with 1 if a step is refused, the switch doesn't do what was predicted, or something is left at the end.
#include <exception>
#include <iostream>

#include "leaf_switch/leaf_switch.h"

int main() {
    try {
        leaf_switch::Leaf leaf = leaf_switch::bring_up();
        leaf_switch::print_summary(leaf, std::cout);
        leaf_switch::take_tour(leaf, std::cout);
        leaf_switch::shut_down(leaf);
        std::cout << "Everything is taken down again, and the tables are empty." << std::endl;
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "leaf_switch: " << error.what() << '\n';
        return 1;
    }
}
