#include "tools/qbt2/cli/message.h"

#include <cstdio>

#include "tools/qbt2/cli/printer.h"

namespace qbt2::tool {

void print_message(std::string_view text) {
  const std::string line = "qbt2: " + shown(text) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

void print_message(std::string_view file, std::string_view text) {
  print_message(std::string(file).append(": ").append(text));
}

}  // namespace qbt2::tool
