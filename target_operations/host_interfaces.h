#pragma once

#include "interfaces/qbt2_export.h"
#include "target_operations/reference_counting.h"

/// Interfaces of the host that have a class id. The library neither implements nor calls them; it
/// declares them so that the generic query finds them in a host's objects. A host adds operations
/// in interfaces derived from these.
namespace TargetOperations {

class QBT2_API IPropertyDescribed : public virtual ReferenceCounting::IReferenceCount {};
class QBT2_API IOperation : public virtual IPropertyDescribed {};
class QBT2_API IOperation2 : public virtual IOperation {};
class QBT2_API IOperation3 : public virtual IOperation2 {};
class QBT2_API IOperation4 : public virtual IOperation3 {};
class QBT2_API IOperation5 : public virtual IOperation4 {};
class QBT2_API IOperation6 : public virtual IOperation5 {};
class QBT2_API IOperationServer : public virtual ReferenceCounting::IReferenceCount {};

}  // namespace TargetOperations

namespace SyncSetup {

class QBT2_API ISyncMode : public virtual ReferenceCounting::IReferenceCount {};
class QBT2_API ISyncMode2 : public virtual ISyncMode {};
class QBT2_API IStepPastBp : public virtual ReferenceCounting::IReferenceCount {};

}  // namespace SyncSetup
