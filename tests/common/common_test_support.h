#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

/// Shared by the tests of common/, and in part by others. Most of what they test changes its
/// process for good (an open log, the environment): each test counts on the process of its own that
/// ctest gives it, and a test of several such cases runs each of them in a child.
namespace common_test {

/// Runs `body` in a child process; a failed check in it fails the test.
template <typename Body>
void InChild(Body body) {
  std::fflush(nullptr);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    try {
      body();
    } catch (const std::exception& error) {
      ADD_FAILURE() << "exception left the body: " << error.what();
    }
    std::exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "child ended with " << status;
}

/// An empty directory of the test's own, gone at its end.
class TempDirectory {
 public:
  TempDirectory() {
    std::string pattern = testing::TempDir() + "qbt2_common_XXXXXX";
    path_ = mkdtemp(pattern.data());
  }
  ~TempDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;

  std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

/// A test with such a directory.
class InTempDirectory : public testing::Test {
 protected:
  TempDirectory home_;
};

inline std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The file's lines without their line feeds.
inline std::vector<std::string> ReadLines(const std::string& path) {
  std::istringstream text(ReadFile(path));
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) {
    lines.push_back(line);
  }
  return lines;
}

inline bool Exists(const std::string& path) {
  return std::filesystem::exists(path);
}

inline void SetOrUnset(const char* name, const char* value) {
  if (value != nullptr) {
    setenv(name, value, 1);
  } else {
    unsetenv(name);
  }
}

/// What() of the Error that `body` throws; fails the test when it throws none.
template <typename Error, typename Body>
std::string MessageOf(Body body) {
  try {
    body();
  } catch (const Error& error) {
    return error.what();
  }
  ADD_FAILURE() << "nothing was thrown";
  return {};
}

}  // namespace common_test
