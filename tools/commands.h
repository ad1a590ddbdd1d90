// kels: the subcommands. runKels takes the arguments after the program name and returns the
// exit status: 0 success, 1 some input failed, 2 bad usage.
#ifndef KELS_TOOLS_COMMANDS_H
#define KELS_TOOLS_COMMANDS_H

#include <string>
#include <vector>

namespace kels::tool {

int runKels(const std::vector<std::string>& args);

}  // namespace kels::tool

#endif
