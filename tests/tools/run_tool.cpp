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
#include <system_error>
#include <utility>

namespace qbt2::test {
namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void fail(int code, const char* what) {
  throw std::system_error(code, std::generic_category(), what);
}

class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() { close(); }
  int get() const { return number_; }
  bool is_open() const { return number_ >= 0; }
  void close() {
    if (number_ >= 0) ::close(std::exchange(number_, -1));
  }

 private:
  int number_;
};

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) fail(errno, "pipe");
    read_end = Descriptor(ends[0]);
    write_end = Descriptor(ends[1]);
  }
  Descriptor read_end;
  Descriptor write_end;
};

std::vector<char*> as_pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
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

/// One child process with its pipes.
class Child {
 public:
  explicit Child(const ToolRun& run) : run_(run) {
    start();
    process_ = Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
    if (!process_.is_open()) fail(errno, "pidfd_open");
    ::fcntl(in_.write_end.get(), F_SETFL, O_NONBLOCK);
    in_.read_end.close();
    out_.write_end.close();
    err_.write_end.close();
    feed();
  }
  ~Child() {
    if (pid_ > 0 && !ended_) end();
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  ToolResult finish() {
    const Clock::time_point deadline = Clock::now() + run_.limit;
    while (!ended_ || out_.read_end.is_open() || err_.read_end.is_open()) {
      const auto left =
          std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
      if (left <= 0) {
        result_.timed_out = true;
        if (!ended_) end();
        break;
      }
      wait_for_news(static_cast<int>(left));
    }
    return std::move(result_);
  }

 private:
  void start() {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_adddup2(&actions, in_.read_end.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out_.write_end.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err_.write_end.get(), STDERR_FILENO);
    // This process ignores SIGPIPE; the program must prove that it copes with its default.
    sigset_t reset;
    sigemptyset(&reset);
    sigaddset(&reset, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &reset);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    std::vector<std::string> arguments = run_.arguments;
    arguments.insert(arguments.begin(), QBT2_TOOL_PATH);
    std::vector<std::string> environment = whole_environment(run_.environment);
    const int code = ::posix_spawn(&pid_, QBT2_TOOL_PATH, &actions, &attributes,
                                   as_pointers(arguments).data(), as_pointers(environment).data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (code != 0) fail(code, QBT2_TOOL_PATH);
  }

  void wait_for_news(int milliseconds) {
    std::array<pollfd, 4> wanted = {{{in_.write_end.get(), POLLOUT, 0},
                                     {out_.read_end.get(), POLLIN, 0},
                                     {err_.read_end.get(), POLLIN, 0},
                                     {ended_ ? -1 : process_.get(), POLLIN, 0}}};
    if (::poll(wanted.data(), wanted.size(), milliseconds) < 0 && errno != EINTR) {
      fail(errno, "poll");
    }
    if (wanted[0].revents != 0) feed();
    if (wanted[1].revents != 0) collect(out_.read_end, result_.out);
    if (wanted[2].revents != 0) collect(err_.read_end, result_.err);
    if (wanted[3].revents != 0) reap();
    if (run_.close_output_after && result_.out.size() >= *run_.close_output_after) {
      out_.read_end.close();
    }
  }

  void feed() {
    const std::size_t left = run_.input.size() - fed_;
    const ssize_t written = ::write(in_.write_end.get(), run_.input.data() + fed_, left);
    if (written >= 0) fed_ += static_cast<std::size_t>(written);
    const bool wants_more = written >= 0 || errno == EAGAIN || errno == EINTR;
    if (!wants_more || fed_ == run_.input.size()) in_.write_end.close();
  }

  static void collect(Descriptor& from, std::string& text) {
    std::array<char, 65536> piece;
    const ssize_t got = ::read(from.get(), piece.data(), piece.size());
    if (got > 0) {
      text.append(piece.data(), static_cast<std::size_t>(got));
    } else if (got == 0 || errno != EINTR) {
      from.close();
    }
  }

  void reap() {
    int status = 0;
    if (::waitpid(pid_, &status, 0) != pid_) fail(errno, "waitpid");
    ended_ = true;
    result_.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

  void end() {
    ::kill(pid_, SIGKILL);
    reap();
  }

  const ToolRun& run_;
  Pipe in_;
  Pipe out_;
  Pipe err_;
  pid_t pid_ = -1;
  Descriptor process_;
  std::size_t fed_ = 0;
  bool ended_ = false;
  ToolResult result_;
};

}  // namespace

ToolResult run_tool(const ToolRun& run) {
  ::signal(SIGPIPE, SIG_IGN);  // a program may end before it has read its input
  return Child(run).finish();
}

ToolResult run_tool(const std::vector<std::string>& arguments, const std::string& input) {
  ToolRun run;
  run.arguments = arguments;
  run.input = input;
  return run_tool(run);
}

}  // namespace qbt2::test
