#include "common/source/errors/error_code.h"

#include <gtest/gtest.h>

#include <memory>
#include <tuple>

using Kz::Dvt::Hwdbg::hwDbgError;
using Kz::Dvt::Hwdbg::hwDbgErrorDS;
using Kz::Dvt::Hwdbg::hwDbgErrorIF;
using Kz::Dvt::Hwdbg::hwDbgErrorIFDS;

TEST(ErrorObject, SeverityOutOfRangeIsAnErrorAndTheFirstTitleStays) {
  const std::tuple<std::uint32_t, std::uint32_t, const char*> cases[] = {
      {0, 0, "Information"}, {1, 1, "Warning"}, {2, 2, "Error"}, {3, 3, "Internal"},
      {4, 4, "Fatal"},       {5, 2, "Error"},   {7, 2, "Error"}, {0xFFFFFFFF, 2, "Error"}};
  for (const auto& [value, stored, title] : cases) {
    const auto severity = static_cast<hwDbgErrorIF::Severity_Type>(value);
    EXPECT_EQ(hwDbgError("text", severity).GetSeverity(), stored) << value;
    EXPECT_EQ(hwDbgError(std::string("title"), "text", severity).GetSeverity(), stored) << value;
    hwDbgError error(severity);
    EXPECT_STREQ(error.GetTitle(), title);
    error.SetSeverity(hwDbgErrorIF::eFatal);
    error.SetSeverity(severity);
    EXPECT_EQ(error.GetSeverity(), stored) << value;
    error.SetSeverity(hwDbgErrorIF::eWarning);
    EXPECT_STREQ(error.GetTitle(), title) << "after the severity changed";
  }
}

TEST(ErrorObject, PushedTextsLeaveAHistory) {
  hwDbgError error;
  error.PushText("a");
  error.PushText(static_cast<const char*>(nullptr));
  error.PushText(std::string("b"));
  EXPECT_STREQ(error.GetErrorText(), "b");
  EXPECT_STREQ(error.GetDetailedText(), "Uninitialized error text\na");
  EXPECT_EQ(error.GetSeverity(), 2U);
  EXPECT_STREQ(hwDbgError(static_cast<const char*>(nullptr), hwDbgErrorIF::eError).GetErrorText(),
               "");
}

TEST(ErrorObject, DetailedTextIsJoinedOnce) {
  hwDbgError error;
  EXPECT_STREQ(error.GetDetailedText(), "");
  error.AddDetailedInfo("x");
  error.AddDetailedInfo(static_cast<const char*>(nullptr));
  error.AddDetailedInfo(std::string("y"));
  EXPECT_STREQ(error.GetDetailedText(), "x\ny");
  error.AddDetailedInfo("z");
  EXPECT_STREQ(error.GetDetailedText(), "x\ny");
}

TEST(ErrorObject, CopyTakesTheLinesButNotTheJoinedText) {
  hwDbgError source("title", "text", hwDbgErrorIF::eFatal);
  source.AddDetailedInfo("x");
  EXPECT_STREQ(source.GetDetailedText(), "x");
  source.AddDetailedInfo("y");

  hwDbgError copy(source);
  EXPECT_STREQ(copy.GetDetailedText(), "x\ny") << "a copy joins again";
  EXPECT_STREQ(copy.GetTitle(), "title");
  EXPECT_EQ(copy.GetSeverity(), 4U);

  hwDbgError target;
  target.AddDetailedInfo("old");
  EXPECT_STREQ(target.GetDetailedText(), "old");
  target = source;
  EXPECT_STREQ(target.GetErrorText(), "text");
  EXPECT_STREQ(target.GetDetailedText(), "old") << "the joined text is not cleared";

  target.Copy(target);
  EXPECT_STREQ(target.GetErrorText(), "text");
  EXPECT_STREQ(target.GetTitle(), "title");
}

TEST(ErrorObject, OwnCopyOutlivesItsSource) {
  auto source = std::make_unique<hwDbgError>("title", "text", hwDbgErrorIF::eInternal);
  const std::unique_ptr<hwDbgErrorIFDS> copy = std::make_unique<hwDbgErrorDS>(*source);
  source->SetErrorText("changed");
  source.reset();
  EXPECT_STREQ(copy->GetTitle(), "title");
  EXPECT_EQ(copy->GetSeverity(), 3U);
  EXPECT_STREQ(copy->GetErrorText(), "text");
  copy->Delete();
  EXPECT_STREQ(copy->GetErrorText(), "text");
}
