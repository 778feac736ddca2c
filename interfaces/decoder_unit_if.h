#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "interfaces/device_config_manager_if.h"
#include "interfaces/qbt2_export.h"

/// The decoder unit: everything a host calls in the plug-in.
///
/// Life of a unit: CreateDecoderUnit; then SetDeviceConfigManager, SetDeviceIdentifier,
/// SetMasterIds, InitColumn and AddColumn in any order; DataReset, which loads the use case;
/// ProcessSamples any number of times; DestroyDecoderUnit. The settings and DataReset may be called
/// again at any time between samples.
///
/// A unit is used by one thread at a time; separate units are independent. Units are created one at
/// a time, as the first one sets up the trace environment of the process.
///
/// The library is never unloaded: dlclose leaves it in the process, with its logs.
namespace Kz::Dvt::Trace {

class CDeviceIdentifier;
class CDataSource;

/// What a decoder is for; only 0 is used.
enum eFunctionType : std::uint32_t { eFunctionTypeDefault = 0 };

/// How a host reads the values of a column; all columns report 140.
enum eInput : std::uint32_t { eInputUnsignedValue = 140 };

/// The only exception that leaves ProcessSamples, thrown by value. Exported, so that library and
/// host share one type and the host's catch matches it.
struct QBT2_API DecodeError {
  std::uint32_t kind;  ///< 0: the output is too small; 2: the sample is malformed
  /// Of kind 0: the bytes written so far, or the bytes needed where a text does not fit; else 0.
  std::uint32_t detail;
};

/// The order of declaration is the order of the slots of the virtual table and part of the
/// contract. There is no virtual destructor: a unit is destroyed by DestroyDecoderUnit only.
class CDecoderUnitIF {
 public:
  /// One column, as InitColumn returns it.
  struct SharedColumns {
    std::string name;        ///< the display name
    std::uint32_t columnId;  ///< its low 8 bits are the column's position byte in a row
    bool flag;               ///< the host's; the decoder sets it to false
  };

  /// Stores the pointer, which may be null; the manager stays the host's and must outlive its last
  /// use by DataReset. Unless null, its GetInfo is called once.
  virtual void SetDeviceConfigManager(CDeviceConfigManager* manager) = 0;

  /// Stores the pointer, which may be null; the identifier stays the host's and must outlive its
  /// last use by DataReset.
  virtual void SetDeviceIdentifier(CDeviceIdentifier* identifier) = 0;

  /// Sets `type` to eFunctionTypeDefault.
  virtual void GetFunctionInformation(eFunctionType& type) const = 0;

  /// Replaces the contents of `ids` by the master ids set last.
  virtual void GetMasterIds(std::vector<std::uint32_t>& ids) const = 0;

  /// Replaces the ids of the masters whose use case the next DataReset loads. Samples carry only
  /// the low 8 bits of an id; of several ids that share them the first one counts.
  virtual void SetMasterIds(const std::vector<std::uint32_t>& ids) = 0;

  /// Does nothing: `value` stays as it is.
  virtual void GetInfo(const std::string& key, ConfigPropertyValue& value) const = 0;

  /// Numbers the 45 columns from `firstId` on, appends a record of each to `columns` in catalogue
  /// order, and sets `count` to 45. Rows carry the low 8 bits of an id, and nothing checks that
  /// they are free: interfaces/record_format.h has the range that is. Throws std::bad_alloc.
  virtual void InitColumn(std::vector<SharedColumns>& columns, std::uint32_t firstId,
                          std::uint32_t& count) = 0;

  /// Describes the column of this id: how to read it, its width in bits, whether AddColumn enabled
  /// it, and its texts. For an id that no column has, all outputs are left as they are. Before
  /// InitColumn all columns have the id 0xBAD0BAD0, and the first one is described.
  virtual void GetColumnInfo(std::uint32_t id, eInput& input, std::uint32_t& bits, bool& enabled,
                             std::string& name, std::string& key,
                             std::string& description) const = 0;

  /// Sets the enabled flag of every column of this id; an unknown id is ignored. Only GetColumnInfo
  /// reports the flag: rows always hold all columns of their kind.
  virtual void AddColumn(std::uint32_t id, bool enable) = 0;

  /// Decodes one sample (interfaces/sample_format.h) at `input` into one row, or the no-row marker,
  /// at `output` (interfaces/record_format.h). Sets `bytesProduced`, which is at least 1. The first
  /// argument is not used.
  ///
  /// Writes up to RecordFormat::kSlackBytes (8) past `capacity`, whatever it is and also when it
  /// throws; `bytesProduced` may then be greater than `capacity`. So announce 8 bytes less than
  /// allocated:
  ///
  ///   std::vector<std::uint8_t> output(capacity + RecordFormat::kSlackBytes);
  ///   unit->ProcessSamples(0, sample, capacity, output.data(), produced);
  ///
  /// A row takes at most 146 bytes plus the name of its master. A capacity below
  /// RecordFormat::kLowCapacity is logged. Of the sample, the header and as many bytes as its
  /// payload size says are read; nothing of it is kept.
  ///
  /// Throws DecodeError and nothing else: kind 2 for a malformed sample, a null pointer or
  /// exhausted memory, kind 0 for an output that is too small. Then `bytesProduced` is unchanged,
  /// the output holds the part of the row that was written, and the unit can decode the next
  /// sample.
  virtual void ProcessSamples(std::uint32_t unused, std::uint8_t* input, std::uint32_t capacity,
                              std::uint8_t* output, std::uint32_t& bytesProduced) = 0;

  /// Loads the use case of every master from the configuration manager. A master without a usable
  /// setting is decoded as an unknown one; nothing is reported. Throws std::bad_alloc.
  virtual void DataReset() = 0;

  /// Does nothing.
  virtual void Init(CDataSource* /*source*/) {}
  /// Sets `needed` to false.
  virtual void GetTimestampAdjustmentNeeded(bool& needed) { needed = false; }
  /// Sets `adjusted` to 0.
  virtual void AdjustTimestamp(std::uint8_t* /*data*/, std::uint32_t& adjusted) { adjusted = 0; }
  /// Does nothing.
  virtual void SetAdjustedTimestamp(std::uint32_t /*timestamp*/) {}

 protected:
  ~CDecoderUnitIF() = default;
};

}  // namespace Kz::Dvt::Trace

extern "C" {
/// A new decoder unit, to be cast to Kz::Dvt::Trace::CDecoderUnitIF*; the host owns it until
/// DestroyDecoderUnit. Throws std::bad_alloc only.
QBT2_API void* CreateDecoderUnit();
/// Frees the storage of a unit. Its destructor deliberately does not run (see the definition), so
/// the memory of its members is lost. Null is accepted.
QBT2_API void DestroyDecoderUnit(void* unit);
}
