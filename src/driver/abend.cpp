// An exception instead of exit(): whatever the run has begun is taken back on the way out (an
// OutputFile that was not committed leaves no file), and a program around the run lives on, as
// tests and fuzz targets do.
#include "driver/abend.h"

#include <cstdarg>
#include <string>

#include "base/format.h"

namespace tervolanda {

void abend(const char* pattern, ...) {
    std::va_list arguments;
    va_start(arguments, pattern);
    const std::string message = formatList(pattern, arguments);
    va_end(arguments);
    throw Abend(message, std::nullopt);
}

void abend(Fault fault, const char* pattern, ...) {
    std::va_list arguments;
    va_start(arguments, pattern);
    const std::string message = formatList(pattern, arguments);
    va_end(arguments);
    throw Abend(message, fault);
}

}  // namespace tervolanda
