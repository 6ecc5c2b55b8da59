// The report's page before and after its data, generated from report/ by the build.
#pragma once

#include <string_view>

namespace vantra::inspect {

extern const std::string_view kReportHead;
extern const std::string_view kReportTail;

}  // namespace vantra::inspect
