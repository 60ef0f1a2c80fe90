// The page of --report is kReportHead, the data as JSON without "<", and kReportTail.
#pragma once

#include <string_view>

namespace tervolanda {

extern const std::string_view kReportHead;
extern const std::string_view kReportTail;

}  // namespace tervolanda
