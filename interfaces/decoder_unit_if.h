#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "interfaces/device_config_manager_if.h"
#include "interfaces/qbt2_export.h"

/// The decoder unit: what a host sees of the plug-in.
///
/// Life of a unit: CreateDecoderUnit, then SetDeviceConfigManager, SetDeviceIdentifier,
/// SetMasterIds, InitColumn and AddColumn in any order, DataReset (loads the use case),
/// ProcessSamples any number of times, DestroyDecoderUnit. One thread at a time uses a unit;
/// separate units are independent. Units are created one at a time.
namespace Kz::Dvt::Trace {

class CDeviceIdentifier;
class CDataSource;

/// What a decoder is for; only 0 is used.
enum eFunctionType : std::uint32_t { eFunctionTypeDefault = 0 };

/// How a host reads a column's value; the catalogue columns all answer 140.
enum eInput : std::uint32_t { eInputUnsignedValue = 140 };

/// The only exception that leaves ProcessSamples, thrown by value. Exported, so that a host's catch
/// finds the one type, however its runtime compares types.
struct QBT2_API DecodeError {
  std::uint32_t kind;    ///< 0 output problem, 2 input problem
  std::uint32_t detail;  ///< kind 0: bytes written so far, or bytes needed; otherwise 0
};

/// Slot order is part of the contract: do not reorder. There is no virtual destructor: a unit is
/// given back through DestroyDecoderUnit only.
class CDecoderUnitIF {
 public:
  /// One column as InitColumn hands it over. The flag is the host's; the decoder sets it to false.
  struct SharedColumns {
    std::string name;
    std::uint32_t columnId;
    bool flag;
  };

  /// Stores the pointer (not owned; may be null) and, unless null, asks it GetInfo once.
  virtual void SetDeviceConfigManager(CDeviceConfigManager* manager) = 0;
  /// Stores the pointer (not owned; may be null).
  virtual void SetDeviceIdentifier(CDeviceIdentifier* identifier) = 0;
  virtual void GetFunctionInformation(eFunctionType& type) const = 0;
  virtual void GetMasterIds(std::vector<std::uint32_t>& ids) const = 0;
  virtual void SetMasterIds(const std::vector<std::uint32_t>& ids) = 0;
  /// Leaves `value` as it is.
  virtual void GetInfo(const std::string& key, ConfigPropertyValue& value) const = 0;
  /// Numbers the decoder's columns from firstId on and appends one record each to `columns`.
  virtual void InitColumn(std::vector<SharedColumns>& columns, std::uint32_t firstId,
                          std::uint32_t& count) = 0;
  /// Describes the column of this id; an id that no column has leaves the outputs untouched.
  virtual void GetColumnInfo(std::uint32_t id, eInput& input, std::uint32_t& bits, bool& enabled,
                             std::string& name, std::string& key,
                             std::string& description) const = 0;
  /// Switches the column's enabled flag, which only GetColumnInfo reports: rows always hold all
  /// columns of their kind.
  virtual void AddColumn(std::uint32_t id, bool enable) = 0;
  /// Decodes one sample into `output` (`capacity` bytes; more than 99 expected) and sets
  /// `bytesProduced` (at least 1). Throws DecodeError (null pointers: {2, 0}); `bytesProduced` is
  /// then not set.
  virtual void ProcessSamples(std::uint32_t unused, std::uint8_t* input, std::uint32_t capacity,
                              std::uint8_t* output, std::uint32_t& bytesProduced) = 0;
  /// Reloads the use case from the configuration manager.
  virtual void DataReset() = 0;
  virtual void Init(CDataSource* /*source*/) {}
  virtual void GetTimestampAdjustmentNeeded(bool& needed) { needed = false; }
  virtual void AdjustTimestamp(std::uint8_t* /*data*/, std::uint32_t& adjusted) { adjusted = 0; }
  virtual void SetAdjustedTimestamp(std::uint32_t /*timestamp*/) {}

 protected:
  ~CDecoderUnitIF() = default;
};

}  // namespace Kz::Dvt::Trace

extern "C" {
/// A new decoder unit, to be cast to Kz::Dvt::Trace::CDecoderUnitIF*. Throws std::bad_alloc only.
QBT2_API void* CreateDecoderUnit();
/// Frees the unit's storage without running its destructor (on purpose; see the definition). Null
/// is accepted.
QBT2_API void DestroyDecoderUnit(void* unit);
}
