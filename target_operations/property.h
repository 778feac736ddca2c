#pragma once

#include <string>
#include <vector>

#include "interfaces/qbt2_export.h"
#include "target_operations/ReferenceCount.h"
#include "target_operations/property_interfaces.h"
#include "target_operations/property_values.h"

/// A node of a tree of named settings that the library builds, the host shows, lets its user edit
/// and hands back. The typed nodes (boolean_property.h and its neighbours) derive from it.
///
/// Ownership: a node is born with one reference, the creator's. AddChild moves the caller's
/// reference into the parent's list, so that the root's last Release ends the whole tree, but for
/// nodes that someone else still holds: these live on as roots. The link to the parent is not
/// counted. A node must not become its own descendant: nothing checks for it.
///
/// One thread at a time uses a tree. Trees may be of any depth: nothing here recurses over library
/// nodes. Null texts count as empty ones. Setters report nothing; only exhausted memory throws.
namespace TargetOperations {

/// Declaration order is slot order, fixed for hosts that derive from the class or call through its
/// virtual table. Slots 0 to 4 are those of IReferenceCount; AddChild is slot 5.
class QBT2_API Property : public ReferenceCount, public virtual IAttachableProperty {
 public:
  explicit Property(const NameAndDescription& nameAndDescription);
  /// A deep copy without a parent; see Clone.
  Property(const Property& other);
  Property& operator=(const Property&) = delete;
  /// Children that live on become roots: their parent is set to null before they are released.
  ~Property() override;

  /// A node as its interface; the caller owns the one reference.
  static IProperty* Construct(const NameAndDescription& nameAndDescription);

  /// Answers IAttachableProperty, IProperty and IReferenceCount, and on purpose nothing else:
  /// there is no falling back on the generic query, here and in the typed nodes.
  void* QueryInterface(ReferenceCounting::_ClassID id) override;

  /// A child that is a Property gets this node as its parent. Null is appended too and stands as a
  /// null entry among the children.
  void AddChild(IProperty* child) override;
  const char* GetName() const override;
  const char* GetDescription() const override;
  bool IsEditable() const override;
  bool IsDisabled() const override;
  virtual bool IsHaltCPU() const;
  unsigned int GetNumSubProperties() const override;
  void GetSubProperties(IProperty** out) const override;
  IProperty* GetParentProperty() const override;
  /// Appends a copy; a key may be there twice.
  virtual void AddKeyName(const PropertyKey& key);
  virtual void SetEditable(bool editable);
  virtual void SetCategory(unsigned int category);
  virtual void SetEnumValue(int enumValue);
  virtual void SetChildKey(const char* key);
  virtual void SetSameLevelKey(const char* key);
  virtual void SetDisabled(bool disabled);
  virtual void SetHaltCPU(bool halt);
  /// True if a key has this name. See the definition for the built-in "TESTKEY".
  virtual bool IsKeyName(const char* name) const;
  /// The number of the first key of this name; 0 if there is none, as for a key numbered 0.
  virtual unsigned int GetKeyNumber(const char* name) const;
  virtual unsigned int GetCategory() const;
  virtual int GetEnumValue() const;
  virtual const char* GetChildKey() const;
  virtual const char* GetSameLevelKey() const;
  /// Null detaches. Does not touch the parent's list of children, nor any reference.
  virtual void SetParent(Property* parent);
  /// A deep copy of the same kind, without a parent; the caller owns the one reference. A class of
  /// the host that does not override Clone is copied as the library's class it derives from.
  /// Children that are no Property have no Clone: the copy shares them, each with a reference of
  /// its own. Null entries stay null entries.
  virtual IProperty* Clone();
  /// Appends the children to `out`; the caller releases each.
  virtual void GetSubProperties(std::vector<IProperty*>& out) const;
  /// Releases every child in order. Their parent pointers are left as they are, on purpose: whoever
  /// holds a child beyond this call and outlives the node does SetParent(nullptr) on it.
  virtual void RemoveAllSubProperties();
  virtual void RemoveAllKeys();
  virtual void SetName(const char* name);
  virtual void SetDescription(const char* description);
  virtual void SetReplacable(eREPLACABLE replacable);
  virtual eREPLACABLE IsReplacable();
  /// Whether both trees have the same shape, names, kinds and typed values. Descriptions, flags,
  /// keys and tags do not count. Children that are no Property are equal only to themselves.
  ///
  /// Leaves references behind on typed nodes, deliberately: each time a typed node of this tree is
  /// compared, it and its counterpart keep one more. A LocationProperty2 of this tree keeps two, as
  /// it is first tried as a location; its counterpart keeps one. Plain nodes of this tree keep none
  /// and leave none. May overwrite the page of a LocationProperty2 in this tree.
  virtual bool IsEqual(Property& other);
  /// Brings children and value in line; plain nodes have nothing to do.
  virtual void UpdateSelf();
  /// Sets the disabled flag of this node and of every Property below it.
  virtual void DisableAllLevel(bool disabled);

  /// Adds the child if `parent` (which may be null) takes children. Otherwise nothing happens, and
  /// the reference stays the caller's.
  static void AddChild(IProperty* parent, IProperty* child);
  /// Appends the children of any node, the host's own included, to `out`; the caller releases each.
  /// Null has no children.
  static void GetSubProperties(IProperty* node, std::vector<IProperty*>& out);

 protected:
  /// Selects the constructor that copies a node's own fields, but neither children nor value.
  struct NodeOnly {};
  Property(const Property& other, NodeOnly);

 private:
  friend class PropertyTree;
  friend struct PropertyKind;

  NameAndDescription m_nameAndDescription;
  std::vector<PropertyKey> m_keyNames;
  unsigned int m_category = 0;
  int m_enumValue = 0;
  std::string m_childKey;
  std::string m_sameLevelKey;
  bool m_editable = true;
  bool m_disabled = false;
  bool m_haltCpu = false;
  eREPLACABLE m_replacable = eReplacableDefault;
  std::vector<IProperty*> m_children;  // each owns a reference; may hold null
  Property* m_parent = nullptr;        // not owned
};

}  // namespace TargetOperations
