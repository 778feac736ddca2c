#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "decoder/column_catalogue.h"
#include "decoder/message_layout.h"
#include "decoder/message_words.h"
#include "decoder/prepared_rows.h"
#include "decoder/probe_data.h"
#include "decoder/record_values.h"
#include "interfaces/decoder_unit_if.h"
#include "interfaces/device_session_if.h"

/// The decoder unit for QB Tracer 2 messages: one sample in, at most one row out.
///
/// A well-formed sample whose row fits takes the fast path (prepared_rows.h), every other one the
/// checked path; both write the same bytes.
///
/// The class holds the whole state of a unit; its operations are defined in one file per concern
/// (sample_intake, statistics_messages, transaction_message, row_writers, usecase_loading). One
/// thread at a time uses a unit, separate units are independent, and units are created one at a
/// time. Tests reach the private members through StpQBTracer2DecoderPeer.
class StpQBTracer2Decoder : public Kz::Dvt::Trace::CDecoderUnitIF {
 public:
  /// Sets up the process's trace environment (first unit only), opens the log, loads the optional
  /// device-database companion library and names the columns. Throws std::bad_alloc only.
  StpQBTracer2Decoder();
  StpQBTracer2Decoder(const StpQBTracer2Decoder&) = delete;
  StpQBTracer2Decoder& operator=(const StpQBTracer2Decoder&) = delete;

  void SetDeviceConfigManager(Kz::Dvt::Trace::CDeviceConfigManager* manager) override;
  void SetDeviceIdentifier(Kz::Dvt::Trace::CDeviceIdentifier* identifier) override;
  void GetFunctionInformation(Kz::Dvt::Trace::eFunctionType& type) const override;
  void GetMasterIds(std::vector<std::uint32_t>& ids) const override;
  void SetMasterIds(const std::vector<std::uint32_t>& ids) override;
  void GetInfo(const std::string& key, Kz::Dvt::Trace::ConfigPropertyValue& value) const override;
  void InitColumn(std::vector<SharedColumns>& shared, std::uint32_t firstId,
                  std::uint32_t& count) override;
  void GetColumnInfo(std::uint32_t id, Kz::Dvt::Trace::eInput& input, std::uint32_t& bits,
                     bool& enabled, std::string& name, std::string& key,
                     std::string& description) const override;
  void AddColumn(std::uint32_t id, bool enable) override;
  void ProcessSamples(std::uint32_t unused, std::uint8_t* input, std::uint32_t capacity,
                      std::uint8_t* output, std::uint32_t& bytesProduced) override;
  void DataReset() override;

  /// Frees their memory; samples take the checked path until the next DataReset.
  void FreePreparedRows() noexcept { preparedRows.Free(); }

  /// In the slots after those of the interface. DestroyDecoderUnit does not run it.
  virtual ~StpQBTracer2Decoder();

 private:
  friend struct StpQBTracer2DecoderPeer;

  void LoadDeviceDatabaseUtility();
  /// Rebuilds `probes` from the configuration manager's settings "QBT2_<master id>".
  void LoadUsecase();
  void LoadMaster(std::uint32_t masterId, Qbt2ProbeData_t& record);
  /// Sets `name` to the device model's name of the master, if it has one.
  void LookUpMasterName(std::uint32_t masterId, std::string& name) const;
  void NotifyDeviceDatabaseUtility();
  void QueryAndIgnore(const char* name);

  /// A copy of the first record with this probe id, else a record with `recordFound` false.
  Qbt2ProbeData_t GetProbeData(std::uint8_t id) const;
  /// Collects the words of the sample and calls the message decoder for their number; false when
  /// there is none. Throws DecodeError {2, 0} when a word would end past the payload.
  bool ProcessQBTracerData(Qbt2ProbeData_t probe);
  /// False when the payload is empty, or has a wrong length byte, which is logged.
  bool CollectWords(MessageWords& message);
  void CheckWordEnd(std::uint8_t length) const;
  /// The checked path: every field of the row goes through the writers below.
  void DecodeSample();
  bool WritePreparedRow();

  /// Each writes one row, or nothing when the number of words is wrong or zero suppression drops
  /// the message. They throw DecodeError when the row does not fit into the output.
  void ProcessThroughputMessage(std::vector<unsigned int> words, Qbt2ProbeData_t probe);
  void ProcessLatencyMessage(std::vector<unsigned int> words, Qbt2ProbeData_t probe);
  void ProcessTransactionMessage(std::vector<unsigned int> words, Qbt2ProbeData_t probe);
  bool IsSuppressed(const std::vector<unsigned int>& words) const;

  /// Writes one numeric field (see docs/formats/record.md); throws DecodeError of kind 0.
  void OutputDataToBuffer(eMsgDataSizeType size, std::uint64_t value, std::uint8_t position,
                          bool withPosition);
  /// Writes one text field; null writes nothing. Throws DecodeError of kind 0.
  void OutputStringToBuffer(const std::string* text, std::uint8_t position);
  std::string convert_int_to_hex_string(std::uint32_t value) const;

  void WriteRowHead(const Qbt2ProbeData_t& probe, const std::string& description);
  void WriteColumn(eQbt2Column column, std::uint64_t value);
  void WriteRawWords(const std::vector<unsigned int>& words);
  void WriteRowEnd();
  std::uint8_t ColumnPosition(eQbt2Column column) const;

  std::uint8_t* outputCursor = nullptr;
  std::uint8_t* inputBuffer = nullptr;
  std::uint32_t outputCapacity = 0;
  std::uint32_t readIndex = 0;
  std::uint32_t bytesWritten = 0;
  std::uint32_t payloadBytes = 0;
  Kz::Dvt::Trace::CDeviceIdentifier* deviceIdentifier = nullptr;
  std::uint8_t currentProbeId = 0;
  std::vector<std::uint32_t> masterIds;
  Kz::Dvt::Trace::CDeviceConfigManager* deviceConfigManager = nullptr;
  std::int32_t deviceInfoFirst = 0;
  std::int32_t deviceInfoSecond = 0;
  std::string deviceInfoName;
  Kz::Dvt::Trace::CDeviceDataBaseUtility* deviceDatabaseUtility = nullptr;
  void* destroyDeviceDatabaseUtility = nullptr;
  std::vector<Qbt2ProbeData_t> probes;
  bool zeroSuppress = false;
  std::uint32_t clockRate = 0;
  DecoderColumns columns;
  PreparedRows preparedRows;
};
