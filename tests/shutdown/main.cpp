// shutdown_program PLUGIN orderly|abandon|unload

#include <boost/dll/shared_library.hpp>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {

/// Whether the library's code is still in the process. Where libraries stay for good, it never is gone.
bool isLibraryGone()
{
#if defined(_WIN32)
    return GetModuleHandleA("tovrintimer.dll") == nullptr;
#else
    return true;
#endif
}

int endAs(const std::string& way, boost::dll::shared_library& plugin)
{
    plugin.get<void()>("startTimer")();
    if (way == "abandon") {
        // The scheduler thread runs on until the system ends it.
        std::cout << way << ": done" << std::endl;
        std::exit(EXIT_SUCCESS);
    }
    plugin.get<void()>("shutDown")();
    if (way == "unload") {
        plugin.unload();
        if (!isLibraryGone()) {
            std::cout << "the library is still loaded\n";
            return EXIT_FAILURE;
        }
    }
    std::cout << way << ": done" << std::endl;
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        return EXIT_FAILURE;
    }
    try {
        boost::dll::shared_library plugin(argv[1]);
        return endAs(argv[2], plugin);
    } catch (const std::exception& error) {
        std::cout << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
