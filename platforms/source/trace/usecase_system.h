#pragma once

#include "interfaces/qbt2_export.h"

namespace TargetOperations {
class IProperty;
class JobManagerInterface;
}  // namespace TargetOperations

/// Reads use-case settings by numeric id from the host's property tree. The host's job manager
/// finds the properties; they are borrowed and never released here.
///
/// Nothing is reported: an absent property, one of another kind and a null root, job manager or
/// output give 0 or leave the output unchanged. Call the functions on the thread that uses the
/// tree.
namespace EktTrace {

/// The low 32 bits of the location with this id; 0 if there is none. The page is dropped.
QBT2_API unsigned int SysUcGetAddressValue(const TargetOperations::IProperty* root, unsigned int id,
                                           TargetOperations::JobManagerInterface* jobs);

/// The address-settings group (0x80850000) of a use case. If the group is switched off or absent,
/// nothing is written. Otherwise `first` and `second` are written (0 for an absent address), and
/// `flag` if its property exists. The two unnamed arguments are not used.
QBT2_API void SysUcGetAddressSettings(const TargetOperations::IProperty* root, bool& flag,
                                      unsigned int& first, unsigned short, unsigned int& second,
                                      unsigned short, TargetOperations::JobManagerInterface* jobs);

/// The integer with this id, cut to the width of the output.
QBT2_API void usecase_system_get_integer_8(const TargetOperations::IProperty& root,
                                           TargetOperations::JobManagerInterface* jobs,
                                           unsigned char* out, unsigned int id);
QBT2_API void usecase_system_get_integer_16(const TargetOperations::IProperty& root,
                                            TargetOperations::JobManagerInterface* jobs,
                                            unsigned short* out, unsigned int id);
QBT2_API void usecase_system_get_integer_32(const TargetOperations::IProperty& root,
                                            TargetOperations::JobManagerInterface* jobs,
                                            unsigned int* out, unsigned int id);

QBT2_API void usecase_system_get_boolean(const TargetOperations::IProperty& root,
                                         TargetOperations::JobManagerInterface* jobs, bool* out,
                                         unsigned int id);

}  // namespace EktTrace
