#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "interfaces/device_config_manager_if.h"
#include "interfaces/qbt2_export.h"

/// What is kept in a trace data file's sections, one class a section: the description of a capture
/// (KzTrace_t), the decoder information (TraceDecode_t), the devices and processors it came from
/// (DeviceIdentifier_t) and the device's settings (DeviceConfig_t). docs/formats/tdf.md and
/// docs/use/settings.md describe the layouts and texts.
///
/// All have one shape: an object holds the file name and a file type (0 is a TDF file); Save and
/// Load answer whether they succeeded and leave a message in `errorText` when not. Neither lets an
/// exception out. Texts that are at fault inside a section never fail a load: they are told in the
/// debug log at the error level and skipped. One thread at a time uses an object; OutputX and
/// InputX touch no object and no global state but that log.
namespace EktTrace::ConfigFile {

/// Removes blanks and tabs at both ends. Carriage returns stay: they are part of a value.
QBT2_API void clean_string(std::string& text);

/// The trace file header, section "KZTrace", a packed binary record. Save is the one writer that
/// creates the file; all other sections are added to a file that exists.
class QBT2_API KzTrace_t {
 public:
  static const std::string SectionName;

  /// Beyond their layout the meaning of the numbers is not known; the names only tell the order.
  struct KzTraceData_t {
    std::string deviceText;      ///< files of format version 4 and later
    std::string connectionName;  ///< emulator and processor
    std::uint32_t headerValue1 = 0;
    std::uint32_t headerValue2 = 0;  ///< 470, with headerValue3 = 38, announces headerValue8
    std::uint32_t headerValue3 = 0;
    std::uint32_t headerValue4 = 0;
    std::uint32_t headerValue5 = 0;
    std::uint32_t headerValue6 = 0;
    std::uint32_t headerValue7 = 0;
    std::string headerText3;
    std::string headerText4;
    std::uint64_t headerValue8 = 0;
  };

  explicit KzTrace_t(std::string fileName, std::uint32_t fileType = 0);

  /// Creates or truncates the file and writes the section, whatever the file type. A record that
  /// does not fit 10,240 bytes is refused before the file is touched.
  bool Save(const KzTraceData_t& data, std::string& errorText);

  /// Reads a trace file of format version 1 to 20 whose component is called "TraceKZ", with or
  /// without the "TDF2" identifier. What Save writes is called "KZTrace" and is deliberately not
  /// read: the reader is for the files of older systems. Stops at the first fault, keeps in `data`
  /// what it had read, and leaves `errorText` alone when the file merely ends early or a text is
  /// longer than 10,239 bytes.
  bool Load(KzTraceData_t& data, std::string& errorText);

 private:
  std::string m_fileName;
  std::uint32_t m_fileType;
};

/// The decoder information, section "KZDecode": four KEY=VALUE lines.
class QBT2_API TraceDecode_t {
 public:
  static const std::string SectionName;

  struct TraceDecodeData_t {
    std::string decoder;
    std::uint32_t dataType = 0;    ///< 0 to 7
    std::uint32_t dataFormat = 0;  ///< 0 to 7
    std::uint32_t atbId = 0;
  };

  explicit TraceDecode_t(std::string fileName, std::uint32_t fileType = 0);

  bool Save(const TraceDecodeData_t& data, std::string& errorText);
  bool Load(TraceDecodeData_t& data, std::string& errorText);

  static void OutputValues(std::ostream& stream, const TraceDecodeData_t& data);
  /// Changes only the fields that lines speak of; a later line wins.
  static void InputValues(std::istream& stream, TraceDecodeData_t& data);

 private:
  std::string m_fileName;
  std::uint32_t m_fileType;
};

/// Emulator, port, devices and processors of a capture, section "DEVID" or (file type 4) the file
/// <name>.dim in the trace logging directory.
class QBT2_API DeviceIdentifier_t {
 public:
  static const std::string SectionName;

  struct DeviceEntry_t {
    std::string name;
    std::uint32_t id = 0;

    bool operator==(const DeviceEntry_t&) const = default;
  };

  struct ProcEntry_t {
    std::string name;
    std::string auxText;  ///< never written; loads as an empty text
    std::string infoText;
    std::uint32_t infoId = 0;
    std::uint32_t traceId = 0;
    std::uint32_t mapValue = 0;
    std::string outFile;

    bool operator==(const ProcEntry_t&) const = default;
  };

  struct DevIdData_t {
    std::string emulator;
    std::string port;
    std::vector<ProcEntry_t> processors;
    std::vector<DeviceEntry_t> devices;
  };

  explicit DeviceIdentifier_t(std::string fileName, std::uint32_t fileType = 0);

  bool Save(const DevIdData_t& data, std::string& errorText);
  bool Load(DevIdData_t& data, std::string& errorText);

  /// `version` is the section's; there is one form only. Nothing is escaped: a text that holds "$",
  /// "~" or a line feed does not read back.
  static void OutputData(std::ostream& stream, unsigned version, const DevIdData_t& data);
  /// Replaces both sequences; the two texts change only if a line speaks of them.
  static void InputData(std::istream& stream, unsigned version, DevIdData_t& data);

 private:
  std::string m_fileName;
  std::uint32_t m_fileType;
};

/// Text that goes along with an STM configuration when it is saved, rendered by its owner.
class IUseCaseText_t {
 public:
  virtual std::string GetText() const = 0;

 protected:
  ~IUseCaseText_t() = default;
};

/// The settings of a device: NAME=VALUE lines in a section of a TDF file (which one is the
/// configuration type's matter) or in a plain text file.
class QBT2_API DeviceConfig_t {
 public:
  static const std::string ArmSectionName;
  static const std::string DspSectionName;
  static const std::string StmSectionName;

  enum eConfigType : std::uint32_t { eArmConfig = 0, eDspConfig = 1, eStmConfig = 2 };

  struct DeviceConfigData_t {
    std::map<std::string, std::string> values;
    /// Borrowed, may be null. Written for the STM configuration only and never read back.
    const IUseCaseText_t* useCaseText1 = nullptr;
    const IUseCaseText_t* useCaseText2 = nullptr;
    const IUseCaseText_t* useCaseText3 = nullptr;
  };

  DeviceConfig_t(std::string fileName, std::uint32_t fileType, std::uint32_t configType);

  /// File types 1, 2 and 4 write a plain file under the name as it is given; type 0 adds a section
  /// to a TDF file that exists.
  bool Save(const DeviceConfigData_t& data, std::string& errorText);

  /// File types 1 and 4 read a plain file from the settings directory (KZ_TRACE_SETTINGS_DIR), type
  /// 0 a section. That type 2 does not load, and that saving and loading look for plain files in
  /// different places, is deliberate. Settings of the file are added to those in `data`.
  bool Load(DeviceConfigData_t& data, std::string& errorText);

  void OutputValues(std::ostream& stream, const DeviceConfigData_t& data) const;
  static void InputValues(std::istream& stream, DeviceConfigData_t& data);
  static void InputOneValue(const std::string& line, DeviceConfigData_t& data);
  /// Does nothing: use-case blocks are written but not read back.
  static void InputOneUseCase(const std::string& line, std::istream& stream,
                              DeviceConfigData_t& data);

 private:
  bool SaveSection(const std::string& text, std::string& errorText) const;
  bool LoadPlainFile(DeviceConfigData_t& data, std::string& errorText) const;
  bool LoadSection(DeviceConfigData_t& data, std::string& errorText) const;

  std::string m_fileName;
  std::uint32_t m_fileType;
  std::uint32_t m_configType;
};

}  // namespace EktTrace::ConfigFile
