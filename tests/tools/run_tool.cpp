#include "tests/tools/run_tool.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace qbt2::test {
namespace {

[[noreturn]] void fail(int code, const char* what) {
  throw std::system_error(code, std::generic_category(), what);
}

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {
    if (number < 0) fail(errno, "descriptor");
  }
  ~Descriptor() { close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return number_; }
  void close() {
    if (number_ >= 0) ::close(std::exchange(number_, -1));
  }

 private:
  int number_;
};

std::array<int, 2> make_pipe() {
  std::array<int, 2> ends{-1, -1};
  ::pipe2(ends.data(), O_CLOEXEC);  // a failure shows in the descriptors
  return ends;
}

struct Pipe {
  std::array<int, 2> ends = make_pipe();
  Descriptor read_end{ends[0]};
  Descriptor write_end{ends[1]};
};

/// Writes until the reader has gone, then ends the stream.
void feed(Descriptor& to, std::string_view bytes) {
  for (ssize_t written = 0; !bytes.empty() && written >= 0;) {
    written = ::write(to.get(), bytes.data(), bytes.size());
    if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  to.close();
}

/// Reads to the end, or until `limit` bytes have come.
void collect(Descriptor& from, std::size_t limit, std::string& text) {
  std::array<char, 65536> piece;
  for (ssize_t got = 1; got > 0 && text.size() < limit;) {
    got = ::read(from.get(), piece.data(), piece.size());
    if (got > 0) text.append(piece.data(), static_cast<std::size_t>(got));
  }
  from.close();
}

std::vector<char*> as_pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> whole_environment(const std::vector<std::string>& changes) {
  std::vector<std::string> all = changes;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string text = *variable;
    const std::string name = text.substr(0, text.find('=') + 1);
    const auto changed = [&](const std::string& change) { return change.starts_with(name); };
    if (std::none_of(changes.begin(), changes.end(), changed)) all.push_back(text);
  }
  return all;
}

pid_t start(const ToolRun& run, int in, int out, int err) {
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
  posix_spawn_file_actions_init(&actions);
  posix_spawnattr_init(&attributes);
  posix_spawn_file_actions_adddup2(&actions, in, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, err, STDERR_FILENO);
  if (!run.output.empty()) {
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, run.output.c_str(), O_WRONLY, 0);
  }
  if (!run.folder.empty()) posix_spawn_file_actions_addchdir_np(&actions, run.folder.c_str());
  // This process ignores SIGPIPE; the program must prove that it copes with its default.
  sigset_t reset;
  sigemptyset(&reset);
  sigaddset(&reset, SIGPIPE);
  posix_spawnattr_setsigdefault(&attributes, &reset);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  std::vector<std::string> arguments = run.arguments;
  arguments.insert(arguments.begin(), QBT2_TOOL_PATH);
  std::vector<std::string> environment = whole_environment(run.environment);
  pid_t pid = -1;
  const int code = ::posix_spawn(&pid, QBT2_TOOL_PATH, &actions, &attributes,
                                 as_pointers(arguments).data(), as_pointers(environment).data());
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (code != 0) fail(code, QBT2_TOOL_PATH);
  return pid;
}

/// Waits for the end of the process; past the limit it is killed.
void wait_for(pid_t pid, std::chrono::milliseconds limit, ToolResult& result) {
  const Descriptor process(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
  pollfd ended{process.get(), POLLIN, 0};
  result.timed_out = ::poll(&ended, 1, static_cast<int>(limit.count())) == 0;
  if (result.timed_out) ::kill(pid, SIGKILL);
  int status = 0;
  if (::waitpid(pid, &status, 0) != pid) fail(errno, "waitpid");
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

ToolResult run_tool(const ToolRun& run) {
  ::signal(SIGPIPE, SIG_IGN);  // a program may end before it has read its input
  Pipe in;
  Pipe out;
  Pipe err;
  const pid_t pid = start(run, in.read_end.get(), out.write_end.get(), err.write_end.get());
  in.read_end.close();
  out.write_end.close();
  err.write_end.close();
  ToolResult result;
  std::jthread feeder([&] { feed(in.write_end, run.input); });
  std::jthread out_reader(
      [&] { collect(out.read_end, run.close_output_after.value_or(SIZE_MAX), result.out); });
  std::jthread err_reader([&] { collect(err.read_end, SIZE_MAX, result.err); });
  wait_for(pid, run.limit, result);
  out_reader.join();
  err_reader.join();
  return result;
}

ToolResult run_tool(const std::vector<std::string>& arguments, const std::string& input) {
  ToolRun run;
  run.arguments = arguments;
  run.input = input;
  return run_tool(run);
}

}  // namespace qbt2::test
