#pragma once

#include <string>
#include <vector>

#include "interfaces/qbt2_export.h"
#include "target_operations/ReferenceCount.h"
#include "target_operations/property_interfaces.h"
#include "target_operations/property_values.h"

/// A node of a tree of named settings, which the library builds and the host shows and edits. The
/// typed nodes (boolean_property.h and others) derive from it.
///
/// Ownership: a new node has one reference, the creator's. AddChild moves the caller's reference to
/// the parent's list, so the last Release of the root destroys the whole tree, except nodes with
/// other references: these become roots. The link to the parent is not counted. A node must not
/// become its own descendant; nothing checks this.
///
/// One thread at a time uses a tree. A tree can have any depth: nothing here recurses over library
/// nodes. A null text is an empty one. Setters report nothing; only exhausted memory throws.
namespace TargetOperations {

/// The order of declaration is the order of the slots, fixed for hosts that derive from the class
/// or call through its virtual table. Slots 0 to 4 are those of IReferenceCount; AddChild is
/// slot 5.
class QBT2_API Property : public ReferenceCount, public virtual IAttachableProperty {
 public:
  explicit Property(const NameAndDescription& nameAndDescription);
  /// A deep copy without a parent; see Clone.
  Property(const Property& other);
  Property& operator=(const Property&) = delete;
  /// Children with other references become roots: their parent is set to null before the release.
  ~Property() override;

  /// A node as its interface; the caller owns the one reference.
  static IProperty* Construct(const NameAndDescription& nameAndDescription);

  /// Finds IAttachableProperty, IProperty and IReferenceCount and deliberately nothing else:
  /// neither this class nor the typed nodes use the generic query.
  void* QueryInterface(ReferenceCounting::_ClassID id) override;

  /// A child that is a Property gets this node as its parent. Null is appended too, as a null
  /// entry.
  void AddChild(IProperty* child) override;
  const char* GetName() const override;
  const char* GetDescription() const override;
  bool IsEditable() const override;
  bool IsDisabled() const override;
  virtual bool IsHaltCPU() const;
  unsigned int GetNumSubProperties() const override;
  void GetSubProperties(IProperty** out) const override;
  IProperty* GetParentProperty() const override;
  /// Appends a copy; keys may repeat.
  virtual void AddKeyName(const PropertyKey& key);
  virtual void SetEditable(bool editable);
  virtual void SetCategory(unsigned int category);
  virtual void SetEnumValue(int enumValue);
  virtual void SetChildKey(const char* key);
  virtual void SetSameLevelKey(const char* key);
  virtual void SetDisabled(bool disabled);
  virtual void SetHaltCPU(bool halt);
  /// True if a key has this name; the definition has the built-in exception "TESTKEY".
  virtual bool IsKeyName(const char* name) const;
  /// The number of the first key with this name; 0 if there is none, as for a key with number 0.
  virtual unsigned int GetKeyNumber(const char* name) const;
  virtual unsigned int GetCategory() const;
  virtual int GetEnumValue() const;
  virtual const char* GetChildKey() const;
  virtual const char* GetSameLevelKey() const;
  /// Null detaches. Does not touch the parent's list of children, nor any reference.
  virtual void SetParent(Property* parent);
  /// A deep copy of the same kind, without a parent; the caller owns the one reference. A host's
  /// class that does not override Clone is copied as the library's class that it derives from. A
  /// child that is not a Property has no Clone: the copy shares it, with one more reference. Null
  /// entries are kept.
  virtual IProperty* Clone();
  /// Appends the children to `out`; the caller releases each.
  virtual void GetSubProperties(std::vector<IProperty*>& out) const;
  /// Releases every child in order. Their parent pointers deliberately stay: the owner of another
  /// reference to a child that outlives this node calls SetParent(nullptr) on it. A call from the
  /// destructor of such a child does nothing; a child that is added there is released too.
  virtual void RemoveAllSubProperties();
  virtual void RemoveAllKeys();
  virtual void SetName(const char* name);
  virtual void SetDescription(const char* description);
  virtual void SetReplacable(eREPLACABLE replacable);
  virtual eREPLACABLE IsReplacable();
  /// Whether both trees have the same shape, names, kinds and typed values; descriptions, flags,
  /// keys and tags are not compared. A child that is not a Property equals only itself.
  ///
  /// Deliberately leaves references behind on typed nodes: each time a typed node of this tree is
  /// compared, it and its counterpart keep one. A LocationProperty2 of this tree keeps two, as it
  /// is first tried as a location; its counterpart keeps one. With a plain node of this tree
  /// neither keeps any. May overwrite the page of a LocationProperty2 in this tree.
  virtual bool IsEqual(Property& other);
  /// Makes value and children consistent; a plain node has nothing to do.
  virtual void UpdateSelf();
  /// Sets the disabled flag of this node and of every Property below it.
  virtual void DisableAllLevel(bool disabled);

  /// Adds the child if `parent`, which may be null, offers IAttachableProperty. Otherwise nothing
  /// happens, and the caller keeps the reference.
  static void AddChild(IProperty* parent, IProperty* child);
  /// Appends the children of any node, also one of a host's class, to `out`; the caller releases
  /// each. Null has no children.
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
  bool m_removingChildren = false;
  eREPLACABLE m_replacable = eReplacableDefault;
  std::vector<IProperty*> m_children;  ///< with a reference each; may contain null
  Property* m_parent = nullptr;        ///< not owned
};

}  // namespace TargetOperations
