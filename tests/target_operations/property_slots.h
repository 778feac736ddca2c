#ifndef TESTS_TARGET_OPERATIONS_PROPERTY_SLOTS_H
#define TESTS_TARGET_OPERATIONS_PROPERTY_SLOTS_H

/* A host in C, which knows of the property tree only the slot numbers and base offsets: every
   operation is called through the virtual table that the object's first word points to. Each check
   uses all slots of one interface or class, and returns null or tells which step failed. */
#ifdef __cplusplus
extern "C" {
#endif

/* Interfaces. The node is named "n" and described "d". */
const char* slots_iproperty(void* node, void* child, void* parent);
const char* slots_iattachable(void* node, void* new_child);
const char* slots_iboolean(void* node);
const char* slots_iinteger(void* node);
const char* slots_istring(void* node);
const char* slots_ilocation(void* node);
const char* slots_ilocation2(void* node);

/* Classes. `key` is a PropertyKey ("k", 7), `vector` an empty std::vector<IProperty*>. */
const char* slots_property(void* node, void* child, void* parent, void* as_interface, void* key,
                           void* vector, void* unequal);
const char* slots_boolean(void* node);
const char* slots_integer(void* node);
/* `attribute` is a ValueAttribute whose key name is "key"; `attributes` a vector of them. */
const char* slots_string(void* node, void* attribute, void* attributes);
const char* slots_location(void* node);
const char* slots_location2(void* node);

/* Calls an entry of the destructor: slot 3 destroys, slot 4 also frees. */
void slots_destroy(void* node, unsigned int slot);

#ifdef __cplusplus
}
#endif

#endif
