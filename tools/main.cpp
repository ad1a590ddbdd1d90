// kels: command-line front end of libkelsr.
#include <string>
#include <vector>

#include "commands.h"

int main(int argc, char** argv) {
  return kels::tool::runKels(std::vector<std::string>(argv + 1, argv + argc));
}
