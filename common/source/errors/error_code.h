#pragma once

#include <cstdint>
#include <list>
#include <string>

#include "interfaces/qbt2_export.h"

/// The errors that the library reports to the host: a severity, a title, a one-line text and a list
/// of detail lines. They are values, thrown by value and caught as `hwDbgError const&`. One thread
/// at a time uses an error object. A text that a getter returns is valid until the object is
/// changed or destroyed.
namespace Kz::Dvt::Hwdbg {

/// The host's view of an error. Slot order is part of the contract: do not reorder. It has no
/// virtual destructor: do not delete through it.
class QBT2_API hwDbgErrorIF {
 public:
  enum Severity_Type : std::uint32_t {
    eInformation = 0,
    eWarning = 1,
    eError = 2,
    eInternal = 3,
    eFatal = 4,
  };

  /// The title. An empty title first becomes the default title of the current severity, and stays
  /// that even if the severity changes later.
  virtual const char* GetTitle() = 0;
  virtual void SetTitle(const char* title) = 0;
  virtual Severity_Type GetSeverity() const = 0;
  /// An invalid value becomes eError.
  virtual void SetSeverity(Severity_Type severity) = 0;
  virtual const char* GetErrorText() const = 0;
  virtual void SetErrorText(const char* text) = 0;
  /// The detail lines, joined with line feeds. They are joined once, by the first call that finds a
  /// detail line: lines added later do not show.
  virtual const char* GetDetailedText() = 0;
  /// Appends a detail line; null is ignored.
  virtual void AddDetailedInfo(const char* text) = 0;
  /// Makes `text` the error text and the previous one a detail line, so that repeated calls leave a
  /// history, oldest first; null is ignored.
  virtual void PushText(const char* text) = 0;
  /// Does nothing: an error is a value, owned by its holder.
  virtual void Delete() = 0;

 protected:
  ~hwDbgErrorIF() = default;
};

class QBT2_API hwDbgError : public hwDbgErrorIF {
 public:
  /// Default title of each severity, by its value.
  static const char* const DefaultTitle[5];
  /// The error text by default. The spelling is the interface's.
  static const char* const UnitializedText;

  /// A null text is an empty one. The severity is checked as SetSeverity() does.
  hwDbgError();
  explicit hwDbgError(Severity_Type severity);
  hwDbgError(std::string text, Severity_Type severity);
  hwDbgError(const char* text, Severity_Type severity);
  hwDbgError(std::string title, std::string text, Severity_Type severity);
  hwDbgError(const char* title, const char* text, Severity_Type severity);
  hwDbgError(const hwDbgError& other);
  hwDbgError& operator=(const hwDbgError& other);

  const char* GetTitle() override;
  void SetTitle(const char* title) override;
  Severity_Type GetSeverity() const override;
  void SetSeverity(Severity_Type severity) override;
  const char* GetErrorText() const override;
  void SetErrorText(const char* text) override;
  const char* GetDetailedText() override;
  void AddDetailedInfo(const char* text) override;
  void PushText(const char* text) override;
  void Delete() override;
  virtual ~hwDbgError();

  void SetTitle(std::string title);
  void SetErrorText(const std::string& text);
  void AddDetailedInfo(const std::string& text);
  void PushText(const std::string& text);
  /// Copies severity, title, text and detail lines, but not the joined detail text.
  void Copy(const hwDbgError& other);

 private:
  std::string title_;
  std::string errorText_ = UnitializedText;
  std::string detailedText_;
  std::list<std::string> details_;
  Severity_Type severity_ = eError;
};

/// The smaller, read-only view of an error. Slot order is part of the contract.
class QBT2_API hwDbgErrorIFDS {
 public:
  virtual const char* GetTitle() = 0;
  virtual hwDbgErrorIF::Severity_Type GetSeverity() const = 0;
  virtual const char* GetErrorText() const = 0;
  /// Does nothing, as hwDbgErrorIF::Delete.
  virtual void Delete() = 0;
  virtual ~hwDbgErrorIFDS() = default;
};

/// A copy of an error, to pass on after the source error is gone.
class QBT2_API hwDbgErrorDS : public hwDbgErrorIFDS {
 public:
  explicit hwDbgErrorDS(hwDbgError& error);

  const char* GetTitle() override;
  hwDbgErrorIF::Severity_Type GetSeverity() const override;
  const char* GetErrorText() const override;
  void Delete() override;

 private:
  hwDbgError error_;
};

}  // namespace Kz::Dvt::Hwdbg
