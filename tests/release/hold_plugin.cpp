// hold_plugin PLUGIN: loads the plug-in as a host does, says "holding", and keeps it until its standard input ends.
#include <exception>
#include <iostream>
#include <limits>

#include "reference_host/plugin_library.h"

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::cerr << "usage: hold_plugin PLUGIN\n";
        return 2;
    }
    const refhost::PluginLibrary plugin(argv[1]);
    std::cout << "holding" << std::endl;
    std::cin.ignore(std::numeric_limits<std::streamsize>::max());
    return 0;
} catch (const std::exception& error) {
    std::cerr << "hold_plugin: " << error.what() << '\n';
    return 1;
}
