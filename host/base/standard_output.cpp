#include "host/base/standard_output.h"

#include <fcntl.h>
#include <unistd.h>

namespace qbt2 {
namespace {

int data_descriptor = STDOUT_FILENO;

}  // namespace

void separate_standard_output() {
  if (data_descriptor != STDOUT_FILENO) return;
  const int kept = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (kept < 0) return;  // closed, or no descriptor left: writing reports it
  if (::dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
    ::close(kept);
    return;
  }
  data_descriptor = kept;
}

int standard_output_descriptor() {
  return data_descriptor;
}

}  // namespace qbt2
