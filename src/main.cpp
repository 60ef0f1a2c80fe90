// The entry: a log, and the run.
#include <csignal>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "driver/log.h"
#include "driver/run.h"

int main(int argc, char** argv) {
    // A reader that goes away is a failed write, and those are reported.
    std::signal(SIGPIPE, SIG_IGN);
    tervolanda::Log log;
    try {
        return tervolanda::run(std::vector<std::string>(argv, argv + argc), log);
    } catch (const std::bad_alloc&) {
        log.abend("Not enough memory");
    } catch (const std::length_error&) {  // an array larger than any memory
        log.abend("Not enough memory");
    }
}
