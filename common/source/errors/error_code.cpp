#include "common/source/errors/error_code.h"

#include <iterator>
#include <utility>

namespace Kz::Dvt::Hwdbg {
namespace {

const char* OrEmpty(const char* text) {
  return text != nullptr ? text : "";
}

}  // namespace

const char* const hwDbgError::DefaultTitle[5] = {"Information", "Warning", "Error", "Internal",
                                                 "Fatal"};
const char* const hwDbgError::UnitializedText = "Uninitialized error text";

hwDbgError::hwDbgError() = default;

hwDbgError::hwDbgError(Severity_Type severity) {
  hwDbgError::SetSeverity(severity);
}

hwDbgError::hwDbgError(std::string text, Severity_Type severity) : errorText_(std::move(text)) {
  hwDbgError::SetSeverity(severity);
}

hwDbgError::hwDbgError(const char* text, Severity_Type severity)
    : hwDbgError(std::string(OrEmpty(text)), severity) {}

hwDbgError::hwDbgError(std::string title, std::string text, Severity_Type severity)
    : title_(std::move(title)), errorText_(std::move(text)) {
  hwDbgError::SetSeverity(severity);
}

hwDbgError::hwDbgError(const char* title, const char* text, Severity_Type severity)
    : hwDbgError(std::string(OrEmpty(title)), std::string(OrEmpty(text)), severity) {}

hwDbgError::hwDbgError(const hwDbgError& other) : hwDbgErrorIF(other) {
  Copy(other);
}

hwDbgError& hwDbgError::operator=(const hwDbgError& other) {
  if (this != &other) Copy(other);
  return *this;
}

hwDbgError::~hwDbgError() = default;

const char* hwDbgError::GetTitle() {
  if (title_.empty()) title_ = DefaultTitle[severity_];
  return title_.c_str();
}

void hwDbgError::SetTitle(const char* title) {
  title_ = OrEmpty(title);
}

void hwDbgError::SetTitle(std::string title) {
  title_ = std::move(title);
}

hwDbgErrorIF::Severity_Type hwDbgError::GetSeverity() const {
  return severity_;
}

void hwDbgError::SetSeverity(Severity_Type severity) {
  severity_ = severity < std::size(DefaultTitle) ? severity : eError;
}

const char* hwDbgError::GetErrorText() const {
  return errorText_.c_str();
}

void hwDbgError::SetErrorText(const char* text) {
  errorText_ = OrEmpty(text);
}

void hwDbgError::SetErrorText(const std::string& text) {
  errorText_ = text;
}

const char* hwDbgError::GetDetailedText() {
  // Deliberate: joined once and kept. The host keeps the returned text while it shows it.
  if (!detailedText_.empty()) return detailedText_.c_str();
  for (const std::string& line : details_) {
    if (&line != &details_.front()) detailedText_ += '\n';
    detailedText_ += line;
  }
  return detailedText_.c_str();
}

void hwDbgError::AddDetailedInfo(const char* text) {
  if (text != nullptr) details_.emplace_back(text);
}

void hwDbgError::AddDetailedInfo(const std::string& text) {
  details_.push_back(text);
}

void hwDbgError::PushText(const char* text) {
  if (text != nullptr) PushText(std::string(text));
}

void hwDbgError::PushText(const std::string& text) {
  std::string newest = text;
  details_.push_back(std::move(errorText_));
  errorText_ = std::move(newest);
}

void hwDbgError::Delete() {}

void hwDbgError::Copy(const hwDbgError& other) {
  if (this == &other) return;
  // Deliberate: detailedText_ is unchanged, so that a text returned to the host stays valid.
  severity_ = other.severity_;
  details_ = other.details_;
  title_ = other.title_;
  errorText_ = other.errorText_;
}

hwDbgErrorDS::hwDbgErrorDS(hwDbgError& error) : error_(error) {}

const char* hwDbgErrorDS::GetTitle() {
  return error_.GetTitle();
}

hwDbgErrorIF::Severity_Type hwDbgErrorDS::GetSeverity() const {
  return error_.GetSeverity();
}

const char* hwDbgErrorDS::GetErrorText() const {
  return error_.GetErrorText();
}

void hwDbgErrorDS::Delete() {}

}  // namespace Kz::Dvt::Hwdbg
