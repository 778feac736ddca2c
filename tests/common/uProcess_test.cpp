#include "common/source/source_utilities/uProcess.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

using KZ_DVT::uProcess;

TEST(UProcess, LooksUpLivingProcesses) {
  EXPECT_EQ(uProcess::GetPid(), static_cast<std::uint32_t>(getpid()));
  EXPECT_TRUE(uProcess::LookupProcess(uProcess::GetPid()));
  EXPECT_FALSE(uProcess::LookupProcess(0));
  EXPECT_FALSE(uProcess::LookupProcess(0xFFFFFFFF));

  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) _exit(0);
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  EXPECT_FALSE(uProcess::LookupProcess(static_cast<std::uint32_t>(child)));
}
