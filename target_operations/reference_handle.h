#pragma once

#include <cstddef>
#include <utility>

#include "target_operations/property_interfaces.h"

/// An owning pointer to a reference-counted object, for library and host code, in place of AddRef
/// and Release by hand. A handle owns exactly one reference, or is empty.
///
///   auto node = Adopt(Property::Construct({"name", "what it is"}));   // takes over the reference
///   auto again = Share(node.Get());                                   // adds one
///   parent->AddChild(node.Detach());                                  // gives it up
///   auto boolean = Query<IBooleanProperty>(node.Get());               // empty: no such interface
///
/// Like the objects, a handle is used by one thread at a time. Nothing here throws.
namespace ReferenceCounting {

template <class T>
class ReferenceHandle {
 public:
  constexpr ReferenceHandle() noexcept = default;
  /// Implicit: nullptr is an empty handle.
  constexpr ReferenceHandle(std::nullptr_t) noexcept {}

  /// Takes over a reference that the caller owns. Null gives an empty handle.
  [[nodiscard]] static ReferenceHandle Adopt(T* object) noexcept { return ReferenceHandle(object); }
  /// Adds a reference; the caller keeps its own.
  [[nodiscard]] static ReferenceHandle Share(T* object) noexcept {
    if (object != nullptr) object->AddRef();
    return ReferenceHandle(object);
  }

  ReferenceHandle(const ReferenceHandle& other) noexcept : object_(Share(other.Get()).Detach()) {}
  ReferenceHandle(ReferenceHandle&& other) noexcept : object_(other.Detach()) {}
  /// By value: the new reference is added before the old one is released, so assigning a handle to
  /// itself, or a child to the handle of its parent, is safe.
  ReferenceHandle& operator=(ReferenceHandle other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~ReferenceHandle() {
    if (object_ != nullptr) object_->Release();
  }

  [[nodiscard]] T* Get() const noexcept { return object_; }
  T* operator->() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }
  /// Passes the reference to the caller; the handle is then empty.
  [[nodiscard]] T* Detach() noexcept { return std::exchange(object_, nullptr); }

 private:
  constexpr explicit ReferenceHandle(T* object) noexcept : object_(object) {}

  T* object_ = nullptr;
};

template <class T>
[[nodiscard]] ReferenceHandle<T> Adopt(T* object) noexcept {
  return ReferenceHandle<T>::Adopt(object);
}

template <class T>
[[nodiscard]] ReferenceHandle<T> Share(T* object) noexcept {
  return ReferenceHandle<T>::Share(object);
}

/// Queries the object, which may be null, for an interface that has an id.
template <class Interface>
[[nodiscard]] ReferenceHandle<Interface> Query(IReferenceCount* object) {
  if (object == nullptr) return nullptr;
  return Adopt(static_cast<Interface*>(object->QueryInterface(ClassIdOf<Interface>::value)));
}

}  // namespace ReferenceCounting
