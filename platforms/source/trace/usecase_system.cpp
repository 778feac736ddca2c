#include "platforms/source/trace/usecase_system.h"

#include <optional>

#include "interfaces/job_manager_if.h"
#include "target_operations/property_casts.h"
#include "target_operations/reference_handle.h"

namespace EktTrace {
namespace {

using TargetOperations::IProperty;
using TargetOperations::JobManagerInterface;

/// Ids of the address settings.
enum eAddressSettings : unsigned int {
  eAddressGroup = 0x80850000,   ///< boolean; the addresses are looked up under it
  eAddressFirst = 0x80850001,   ///< location
  eAddressSecond = 0x80850002,  ///< location
  eAddressThird = 0x80850003,   ///< location, looked up but not used
  eAddressFlag = 0x80850004,    ///< boolean
};

/// Borrowed from the job manager.
IProperty* Find(const IProperty* root, JobManagerInterface* jobs, unsigned int id) {
  return root != nullptr && jobs != nullptr ? jobs->FindProperty(root, id) : nullptr;
}

std::optional<bool> FindBoolean(const IProperty* root, JobManagerInterface* jobs, unsigned int id) {
  const auto boolean = ReferenceCounting::Adopt(CastIBoolean(Find(root, jobs, id)));
  if (!boolean) return std::nullopt;
  return boolean->GetValue();
}

template <class Integer>
void GetInteger(const IProperty& root, JobManagerInterface* jobs, Integer* out, unsigned int id) {
  // A dynamic_cast, not a query: it adds no reference and accepts any object that derives from the
  // interface, whatever its query returns.
  const auto* const integer =
      dynamic_cast<TargetOperations::IIntegerProperty*>(Find(&root, jobs, id));
  if (integer != nullptr && out != nullptr) *out = static_cast<Integer>(integer->GetValue());
}

}  // namespace

unsigned int SysUcGetAddressValue(const IProperty* root, unsigned int id,
                                  JobManagerInterface* jobs) {
  const auto location =
      ReferenceCounting::Query<TargetOperations::ILocationProperty>(Find(root, jobs, id));
  if (!location) return 0;
  unsigned int page = 0;
  return location->GetValue(page);
}

void SysUcGetAddressSettings(const IProperty* root, bool& flag, unsigned int& first, unsigned short,
                             unsigned int& second, unsigned short, JobManagerInterface* jobs) {
  if (!FindBoolean(root, jobs, eAddressGroup).value_or(false)) return;
  const IProperty* const group = Find(root, jobs, eAddressGroup);
  if (group == nullptr) return;
  first = SysUcGetAddressValue(group, eAddressFirst, jobs);
  // Deliberate: two results are not used. A job manager may rely on seeing each look-up.
  static_cast<void>(SysUcGetAddressValue(group, eAddressThird, jobs));
  second = SysUcGetAddressValue(group, eAddressSecond, jobs);
  static_cast<void>(SysUcGetAddressValue(group, eAddressSecond, jobs));
  if (const auto found = FindBoolean(root, jobs, eAddressFlag)) flag = *found;
}

void usecase_system_get_integer_8(const IProperty& root, JobManagerInterface* jobs,
                                  unsigned char* out, unsigned int id) {
  GetInteger(root, jobs, out, id);
}

void usecase_system_get_integer_16(const IProperty& root, JobManagerInterface* jobs,
                                   unsigned short* out, unsigned int id) {
  GetInteger(root, jobs, out, id);
}

void usecase_system_get_integer_32(const IProperty& root, JobManagerInterface* jobs,
                                   unsigned int* out, unsigned int id) {
  GetInteger(root, jobs, out, id);
}

void usecase_system_get_boolean(const IProperty& root, JobManagerInterface* jobs, bool* out,
                                unsigned int id) {
  const std::optional<bool> value = FindBoolean(&root, jobs, id);
  if (value && out != nullptr) *out = *value;
}

}  // namespace EktTrace
