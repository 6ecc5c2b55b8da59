#include "util/Clock.h"

#include "util/TimeStamp.h"

namespace vantra::util {

std::string UtcNow() { return std::string(TimeStamp(UtcSeconds()).Text().text); }

}  // namespace vantra::util
