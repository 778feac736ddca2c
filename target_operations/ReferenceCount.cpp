#include "target_operations/ReferenceCount.h"

#include <array>

#include "common/source/source_utilities/uLogger.h"
#include "target_operations/host_interfaces.h"
#include "target_operations/property_interfaces.h"

namespace TargetOperations {
namespace {

using CrossCast = void* (*)(ReferenceCount*);

template <class Interface>
void* CastAcross(ReferenceCount* object) {
  return dynamic_cast<Interface*>(object);
}

/// Indexed by class id.
constexpr std::array<CrossCast, 20> kCrossCasts{
    CastAcross<IAttachableProperty>,
    CastAcross<IBooleanProperty>,
    CastAcross<IOperation>,
    CastAcross<IOperationServer>,
    CastAcross<IIntegerProperty>,
    CastAcross<ILocationProperty>,
    CastAcross<IProperty>,
    CastAcross<ReferenceCounting::IReferenceCount>,
    CastAcross<IStringProperty>,
    nullptr,
    CastAcross<IPropertyDescribed>,
    CastAcross<IOperation2>,
    CastAcross<IOperation3>,
    CastAcross<IOperation4>,
    CastAcross<IOperation5>,
    CastAcross<ILocationProperty2>,
    CastAcross<SyncSetup::ISyncMode>,
    CastAcross<SyncSetup::IStepPastBp>,
    CastAcross<SyncSetup::ISyncMode2>,
    CastAcross<IOperation6>,
};
static_assert(kCrossCasts[ReferenceCounting::ID_IOperation6] == CastAcross<IOperation6>);
static_assert(kCrossCasts[9] == nullptr);

void LogReferencesLeft(unsigned int count) noexcept {
  const auto kind = count == 1 ? KZ_DVT::uLogKindWarning : KZ_DVT::uLogKindError;
  try {
    QBT2_LOG(0, kind, KZ_DVT::uLogStyleTime,
             "calling ~ReferenceCount() when m_nRefCount is still %d", static_cast<int>(count));
  } catch (...) {  // NOLINT(bugprone-empty-catch): destruction goes on, with or without the record
  }
}

}  // namespace

ReferenceCount::~ReferenceCount() {
  if (m_nRefCount != 0) LogReferencesLeft(m_nRefCount);
}

unsigned int ReferenceCount::AddRef() const {
  return ++m_nRefCount;
}

unsigned int ReferenceCount::Release() const {
  // Deliberately returns the count before the decrement, unlike the usual convention: hosts compare
  // with 1 to learn that they released the last reference.
  const unsigned int before = m_nRefCount;
  m_nRefCount = before - 1;
  if (m_nRefCount == 0) delete this;
  return before;
}

void* ReferenceCount::QueryInterface(ReferenceCounting::_ClassID id) {
  if (id >= kCrossCasts.size() || kCrossCasts[id] == nullptr) return nullptr;
  void* const found = kCrossCasts[id](this);
  if (found != nullptr) AddRef();
  return found;
}

}  // namespace TargetOperations
