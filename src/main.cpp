// The entry: surroundings that a run can rely on, a log, and the run.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "driver/log.h"
#include "driver/run.h"

namespace {

// Takes the numbers of the standard streams that the program was started without.  The next files
// to be opened would get them otherwise, and what is printed would go into a result file.  Opened
// the wrong way round, so that reading and printing fail as they do on a closed stream.
void occupyStandardStreams() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) != -1) continue;
        if (open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY) == -1) return;
    }
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    // A reader that goes away and a file that grows beyond its limit are failed writes, and those
    // are reported.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    tervolanda::Log log;
    try {
        return tervolanda::run(std::vector<std::string>(argv, argv + argc), log);
    } catch (const std::bad_alloc&) {
        log.abend("Not enough memory");
    } catch (const std::length_error&) {  // an array larger than any memory
        log.abend("Not enough memory");
    }
}
