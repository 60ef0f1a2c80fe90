// The expansion of percent signs in a text from outside.
//
// Only the lines of MaxSub list runs go through it (result_rows.cpp).
#pragma once

#include <string>
#include <string_view>

namespace tervolanda {

// `text` as printf would write it when it were the pattern and every argument were zero or empty:
// "%%" gives "%", "%d" gives "0", "%5.1f" gives "  0.0", "%s", "%c" and "%n" give nothing (but the
// width of "%s" and "%c" in blanks).  What is no conversion stays as it is.  Widths and precisions
// are cut at 4095, the longest that every C library has to manage.
std::string expandAsFormat(std::string_view text);

}  // namespace tervolanda
