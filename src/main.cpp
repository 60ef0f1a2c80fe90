// The entry: surroundings that a run can rely on, the streams, and the run.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/line_streams.h"
#include "base/memory.h"
#include "base/signals.h"
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

// Where a progress line stands unfinished; -1 for nowhere.  Global, as a signal handler needs it.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
volatile std::sig_atomic_t progressDescriptor = -1;

// Gives the shell a line of its own, and the signal its usual effect: it waits for the end of the
// handler, and the handler stands for one call only.
extern "C" void endProgressLineAndDie(int number) {
    if (progressDescriptor >= 0 && write(progressDescriptor, "\n", 1) < 0) progressDescriptor = -1;
    std::raise(number);
}

// A signal that the program was started to ignore, as by nohup, stays ignored.
void catchEndingSignals() {
    for (const int number : tervolanda::kEndingSignals) {
        struct sigaction action {};
        sigaction(number, nullptr, &action);
        if (action.sa_handler == SIG_IGN) continue;
        action.sa_handler = endProgressLineAndDie;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigaction(number, &action, nullptr);
    }
}

// Makes an allocation that the machine has no memory for fail, and so be reported, where the system
// would grant it and end the process later.
void limitMemory() {
    rlimit before{};
    if (getrlimit(RLIMIT_DATA, &before) != 0) return;
    rlimit limit = before;
    limit.rlim_cur = std::min<rlim_t>(before.rlim_cur, tervolanda::usableMemory());
    setrlimit(RLIMIT_DATA, &limit);
    // Sanitizers have reserved more than there is by now: with them nothing could be allocated.
    constexpr std::size_t kProbe = std::size_t{1} << 20;
    void* const probe =
        mmap(nullptr, kProbe, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (probe == MAP_FAILED) {
        setrlimit(RLIMIT_DATA, &before);
    } else {
        munmap(probe, kProbe);
    }
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    // A reader that goes away and a file that grows beyond its limit are failed writes, and those
    // are reported.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    catchEndingSignals();
    tervolanda::LineStreams streams;
    streams.tellProgress(&progressDescriptor);
    try {
        limitMemory();
        return tervolanda::run(std::vector<std::string>(argv, argv + argc), streams);
    } catch (const std::bad_alloc&) {
    } catch (const std::length_error&) {  // an array larger than any memory
    }
    streams.writeOutOfMemory();
    return EXIT_FAILURE;
}
