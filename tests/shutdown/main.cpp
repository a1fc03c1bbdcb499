// shutdown_program PLUGIN orderly|abandon|unload
// shutdown_program PLUGIN records TIMES

#include "tests/shutdown/platform/Platform.hpp"

#include <boost/dll/shared_library.hpp>
#include <boost/process.hpp>

#include <chrono>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <list>
#include <string>
#include <thread>

namespace {

/// Destroyed after all that has come with the plugin, since it was there before: gives what goes on then the time
/// to fail. Where nothing fails nothing happens, so there is no event to wait for.
struct Afterwards {
    ~Afterwards() { std::this_thread::sleep_for(std::chrono::milliseconds(wait)); }
    int wait = 0;
};

Afterwards afterwards;

int endAs(const std::string& way, boost::dll::shared_library& plugin)
{
    plugin.get<void()>("startTimer")();
    if (way == "records") {
        plugin.get<void()>("startRecords")();
        afterwards.wait = 5;
    }
    if (way == "abandon" || way == "records") {
        // The scheduler thread runs on until the system ends it.
        std::cout << way << ": done" << std::endl;
        std::exit(EXIT_SUCCESS);
    }
    plugin.get<void()>("shutDown")();
    if (way == "unload") {
        plugin.unload();
        if (!shutdown_test::isLibraryGone()) {
            std::cout << "the library is still loaded\n";
            return EXIT_FAILURE;
        }
    }
    std::cout << way << ": done" << std::endl;
    return EXIT_SUCCESS;
}

/// Has new processes end this way, again and again, four at a time.
int repeat(const std::string& program, const std::string& plugin, const std::string& way, int times)
{
    namespace bp = boost::process;
    std::list<bp::child> children;
    for (int run = 0; run < times + 4; ++run) {
        if (run < times) {
            children.emplace_back(program, plugin, way, bp::std_out > bp::null, bp::std_err > bp::null);
        }
        if (children.size() == 4 || (run >= times && !children.empty())) {
            children.front().wait();
            if (const int status = children.front().exit_code(); status != EXIT_SUCCESS) {
                std::cout << way << ": one of the runs up to " << run << " ended with " << status << std::endl;
                return EXIT_FAILURE;
            }
            children.pop_front();
        }
    }
    std::cout << way << ": " << times << " times" << std::endl;
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3 || argc > 4) {
        return EXIT_FAILURE;
    }
    try {
        if (argc == 4) {
            return repeat(argv[0], argv[1], argv[2], std::stoi(argv[3]));
        }
        boost::dll::shared_library plugin(argv[1]);
        return endAs(argv[2], plugin);
    } catch (const std::exception& error) {
        std::cout << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
