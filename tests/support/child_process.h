#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace qbt2::test {

/// Runs `body` in a forked child: for what changes a process for good, such as an open log. A
/// failed check in the child fails the test.
template <typename Body>
void run_in_child(Body body) {
  std::fflush(nullptr);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    try {
      body();
    } catch (const std::exception& error) {
      ADD_FAILURE() << "uncaught exception: " << error.what();
    }
    std::exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "wait status " << status;
}

}  // namespace qbt2::test
