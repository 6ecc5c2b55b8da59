// The entry point of a console program, whose arguments are UTF-8 on every platform.
#pragma once

#include <string>
#include <vector>

namespace vantra {

// Defined by each program. The arguments are in reverse order, as the command line's parser expects them.
int Main(std::vector<std::string> arguments);

}  // namespace vantra
