// Formatting of text by printf patterns, checked by the compiler and of any length.
//
// Output formats are given as printf patterns, down to the blanks; the compiler checks the
// arguments.
#pragma once

#include <cstdarg>
#include <string>

namespace tervolanda {

// The text that printf would write for `pattern` and its arguments.  A pattern stands in the call;
// text from outside (file names, records) is only ever an argument.
[[gnu::format(printf, 1, 2)]] std::string format(const char* pattern, ...);
[[gnu::format(printf, 1, 0)]] std::string formatList(const char* pattern, std::va_list arguments);
// The same into `text`, whose memory is used again.
[[gnu::format(printf, 2, 0)]] void formatListTo(std::string& text, const char* pattern,
                                                std::va_list arguments);

// `value` with so many decimals, to the digit as printf's "%.*f" has it, but never as a negative
// zero.  Common sizes take a tenth of printf's time.
void appendFixed(std::string& text, double value, int decimals);

// `value`, or 0 where it would print as a negative zero with so many decimals.
double withoutNegativeZero(double value, int decimals);

}  // namespace tervolanda
