#include "tests/target_operations/property_slots.h"

#include <stdbool.h>
#include <stddef.h>
#include <string.h>

typedef void (*Slot)(void);

static Slot slot_of(void* object, unsigned int index) {
  return (*(Slot**)object)[index];
}

/* Bases are virtual: an operation of a base is called on the base, which lies as far from the
   object as a word before the table's slots says. The base's slots in the object's own table may
   be null. Words, counted back from slot 0. */
enum { REFERENCE_COUNT = 7, PROPERTY = 15, LOCATION = 22 };

static void* base_of(void* object, unsigned int word) {
  return (char*)object + (*(ptrdiff_t**)object)[-(ptrdiff_t)word];
}

/* The result's type, the object, the slot; then the type and value of each argument. */
#define CALL(R, object, slot) (((R(*)(void*))slot_of(object, slot))(object))
#define CALL1(R, object, slot, T, a) (((R(*)(void*, T))slot_of(object, slot))(object, a))
#define CALL2(R, object, slot, T, a, U, b) \
  (((R(*)(void*, T, U))slot_of(object, slot))(object, a, b))
#define CHECK(condition)                 \
  do {                                   \
    if (!(condition)) return #condition; \
  } while (0)
#define CHECK_SLOTS(call)                \
  do {                                   \
    const char* const failed_ = call;    \
    if (failed_ != NULL) return failed_; \
  } while (0)

static bool same(const char* left, const char* right) {
  return strcmp(left, right) == 0;
}

static const char* slots_ireference_count(void* node, unsigned int id) {
  void* const counted = base_of(node, REFERENCE_COUNT);
  CHECK(CALL(unsigned int, counted, 0) == 2);
  CHECK(CALL(unsigned int, counted, 1) == 2);
  CHECK(CALL1(void*, counted, 2, unsigned int, id) == node);
  CHECK(CALL(unsigned int, counted, 1) == 2);
  return NULL;
}

static void release(void* property) {
  CALL(unsigned int, base_of(property, REFERENCE_COUNT), 1);
}

const char* slots_iproperty(void* node, void* child, void* parent) {
  CHECK_SLOTS(slots_ireference_count(node, 6));
  CHECK(same(CALL(const char*, node, 5), "n"));
  CHECK(same(CALL(const char*, node, 6), "d"));
  CHECK(CALL(bool, node, 7));
  CHECK(!CALL(bool, node, 8));
  CHECK(CALL(unsigned int, node, 9) == 1);
  void* children[1] = {NULL};
  CALL1(void, node, 10, void**, children);
  CHECK(children[0] == child);
  release(child);
  CHECK(CALL(void*, node, 11) == parent);
  release(parent);
  return NULL;
}

const char* slots_iattachable(void* node, void* new_child) {
  CHECK_SLOTS(slots_ireference_count(node, 0));
  void* const property = base_of(node, PROPERTY);
  const unsigned int before = CALL(unsigned int, property, 9);
  CALL1(void, node, 12, void*, new_child);
  CHECK(CALL(unsigned int, property, 9) == before + 1);
  return NULL;
}

const char* slots_iboolean(void* node) {
  CHECK_SLOTS(slots_ireference_count(node, 1));
  CHECK(same(CALL(const char*, base_of(node, PROPERTY), 5), "n"));
  CALL1(void, node, 13, bool, true);
  CHECK(CALL(bool, node, 12));
  return NULL;
}

const char* slots_iinteger(void* node) {
  CHECK_SLOTS(slots_ireference_count(node, 4));
  CALL1(void, node, 13, unsigned long, 0x123456789UL);
  CHECK(CALL(unsigned long, node, 12) == 0x123456789UL);
  unsigned int count = 9;
  CHECK(!CALL1(bool, node, 14, unsigned int*, &count));
  CHECK(count == 0);
  unsigned long allowed = 77;
  CALL1(void, node, 15, unsigned long*, &allowed);
  CHECK(allowed == 77);
  unsigned long minimum = 5;
  unsigned long maximum = 5;
  CHECK(CALL2(bool, node, 16, unsigned long*, &minimum, unsigned long*, &maximum));
  CHECK(minimum == 0 && maximum == 0xFFFFFFFFUL);
  CHECK(CALL(unsigned int, node, 17) == 0);
  return NULL;
}

const char* slots_istring(void* node) {
  CHECK_SLOTS(slots_ireference_count(node, 8));
  CALL1(void, node, 13, const char*, "B");
  CHECK(same(CALL(const char*, node, 12), "B"));
  unsigned int count = 0;
  CHECK(CALL1(bool, node, 14, unsigned int*, &count));
  CHECK(count == 2);
  const char* allowed[2] = {NULL, NULL};
  CALL1(void, node, 15, const char**, allowed);
  CHECK(same(allowed[0], "A") && same(allowed[1], "B"));
  return NULL;
}

static const char* slots_of_location(void* node) {
  unsigned int page = 9;
  CALL2(void, node, 13, unsigned int, 5, unsigned int, 0);
  CHECK(CALL1(unsigned int, node, 12, unsigned int*, &page) == 5);
  CHECK(page == 3);
  CHECK(CALL(unsigned int, node, 14) == 1);
  CALL1(void, node, 15, unsigned int*, &page);
  CHECK(page == 0);
  CHECK(CALL(unsigned int, node, 16) == 0xC0);
  CALL1(void, node, 17, unsigned int, 0xC1);
  CHECK(CALL(unsigned int, node, 16) == 0xC1);
  return NULL;
}

const char* slots_ilocation(void* node) {
  CHECK_SLOTS(slots_ireference_count(node, 5));
  return slots_of_location(node);
}

const char* slots_ilocation2(void* node) {
  CHECK_SLOTS(slots_ireference_count(node, 15));
  CHECK_SLOTS(slots_of_location(base_of(node, LOCATION)));
  unsigned int page = 9;
  CALL2(void, node, 19, unsigned long, 0x123456789UL, unsigned int, 0);
  CHECK(CALL1(unsigned long, node, 18, unsigned int*, &page) == 0x123456789UL);
  CHECK(page == 3);
  return NULL;
}

static const char* slots_property_setters(void* node, void* key) {
  CALL1(void, node, 15, bool, false);
  CHECK(!CALL(bool, node, 8));
  CALL1(void, node, 16, unsigned int, 0x80000016U);
  CHECK(CALL(unsigned int, node, 24) == 0x80000016U);
  CALL1(void, node, 17, int, -17);
  CHECK(CALL(int, node, 25) == -17);
  CALL1(void, node, 18, const char*, "child");
  CHECK(same(CALL(const char*, node, 26), "child"));
  CALL1(void, node, 19, const char*, "level");
  CHECK(same(CALL(const char*, node, 27), "level"));
  CALL1(void, node, 20, bool, true);
  CHECK(CALL(bool, node, 9) && !CALL(bool, node, 10));
  CALL1(void, node, 21, bool, true);
  CHECK(CALL(bool, node, 10));
  CALL1(void, node, 14, void*, key);
  CHECK(CALL1(bool, node, 22, const char*, "k"));
  CHECK(CALL1(unsigned int, node, 23, const char*, "k") == 7);
  CALL(void, node, 32);
  CHECK(!CALL1(bool, node, 22, const char*, "k"));
  CALL1(void, node, 33, const char*, "name");
  CALL1(void, node, 34, const char*, "described");
  CHECK(same(CALL(const char*, node, 6), "name"));
  CHECK(same(CALL(const char*, node, 7), "described"));
  CALL1(void, node, 35, unsigned int, 35);
  CHECK(CALL(unsigned int, node, 36) == 35);
  CALL1(void, node, 39, bool, false);
  CHECK(!CALL(bool, node, 9));
  return NULL;
}

const char* slots_property(void* node, void* new_child, void* parent, void* parent_interface,
                           void* key, void* vector, void* unequal_node) {
  CHECK(CALL(unsigned int, node, 0) == 2);
  CHECK(CALL(unsigned int, node, 1) == 2);
  CHECK(CALL1(void*, node, 2, unsigned int, 9) == NULL);
  CHECK_SLOTS(slots_property_setters(node, key));
  CALL1(void, node, 5, void*, new_child);
  CHECK(CALL(unsigned int, node, 11) == 1);
  void* children[1] = {NULL};
  CALL1(void, node, 12, void**, children);
  CHECK(children[0] == new_child);
  release(new_child);
  CALL1(void, node, 30, void*, vector);
  CHECK(CALL(unsigned int, base_of(new_child, REFERENCE_COUNT), 1) == 2);
  CALL1(void, node, 28, void*, parent);
  CHECK(CALL(void*, node, 13) == parent_interface);
  release(parent_interface);
  void* const clone = CALL(void*, node, 29);
  CHECK(same(CALL(const char*, clone, 5), "name"));
  CHECK(CALL(unsigned int, base_of(clone, REFERENCE_COUNT), 1) == 1);
  CHECK(CALL1(bool, node, 37, void*, node));
  CHECK(!CALL1(bool, node, 37, void*, unequal_node));
  CALL(void, node, 38);
  CALL(void, node, 31);
  CHECK(CALL(unsigned int, node, 11) == 0);
  return NULL;
}

const char* slots_boolean(void* node) {
  CALL1(void, node, 41, bool, true);
  CHECK(CALL(bool, node, 40));
  CALL1(void, node, 42, bool, false);
  CHECK(!CALL(bool, node, 40));
  return NULL;
}

const char* slots_integer(void* node) {
  CALL1(void, node, 41, unsigned long, 41);
  CHECK(CALL(unsigned long, node, 40) == 41);
  CALL1(void, node, 47, unsigned long, 0x47UL);
  unsigned int count = 9;
  CHECK(!CALL1(bool, node, 42, unsigned int*, &count));
  unsigned long allowed = 0;
  CALL1(void, node, 43, unsigned long*, &allowed);
  CHECK(count == 0 && allowed == 0x47);
  CALL2(void, node, 48, unsigned long, 10, unsigned long, 20);
  unsigned long minimum = 0;
  unsigned long maximum = 0;
  CHECK(CALL2(bool, node, 44, unsigned long*, &minimum, unsigned long*, &maximum));
  CHECK(minimum == 10 && maximum == 20);
  CALL1(void, node, 45, unsigned int, 45);
  CHECK(CALL(unsigned int, node, 46) == 45);
  return NULL;
}

const char* slots_string(void* node, void* attribute, void* attributes) {
  CALL1(void, node, 41, const char*, "free");
  CHECK(same(CALL(const char*, node, 40), "free"));
  CALL1(void, node, 44, const char*, "A");
  CALL1(void, node, 45, void*, attribute);
  unsigned int count = 0;
  CHECK(CALL1(bool, node, 42, unsigned int*, &count) && count == 1);
  const char* allowed = NULL;
  CALL1(void, node, 43, const char**, &allowed);
  CHECK(same(allowed, "A"));
  CALL1(void, node, 46, void*, attributes);
  CALL1(void, node, 18, const char*, "other");
  CALL(void, node, 47);
  CHECK(same(CALL(const char*, node, 26), "key"));
  CALL2(void, node, 48, const char*, "A", bool, false);
  CHECK(CALL1(bool, node, 49, const char*, "A"));
  CALL1(void, node, 50, unsigned int, 50);
  CHECK(CALL(unsigned int, node, 51) == 50);
  CALL(void, node, 52);
  CHECK(!CALL1(bool, node, 42, unsigned int*, &count));
  return NULL;
}

const char* slots_location(void* node) {
  unsigned int page = 9;
  CALL2(void, node, 41, unsigned int, 41, unsigned int, 0);
  CALL1(void, node, 46, unsigned int, 46);
  CHECK(CALL1(unsigned int, node, 40, unsigned int*, &page) == 41);
  CHECK(page == 46);
  CHECK(CALL(unsigned int, node, 42) == 1);
  CALL1(void, node, 43, unsigned int*, &page);
  CHECK(page == 0);
  CALL1(void, node, 44, unsigned int, 0x44);
  CHECK(CALL(unsigned int, node, 45) == 0x44);
  return NULL;
}

const char* slots_location2(void* node) {
  unsigned int page = 9;
  CALL1(void, node, 48, unsigned int, 48);
  CALL2(void, node, 43, unsigned long, 0x100000043UL, unsigned int, 0);
  CHECK(CALL1(unsigned long, node, 42, unsigned int*, &page) == 0x100000043UL);
  CHECK(CALL1(unsigned int, node, 40, unsigned int*, &page) == 0x43);
  CHECK(page == 48);
  CALL2(void, node, 41, unsigned int, 41, unsigned int, 0);
  CHECK(CALL1(unsigned long, node, 42, unsigned int*, &page) == 41);
  CHECK(CALL(unsigned int, node, 44) == 1);
  CALL1(void, node, 45, unsigned int*, &page);
  CHECK(page == 0);
  CALL1(void, node, 46, unsigned int, 0x46);
  CHECK(CALL(unsigned int, node, 47) == 0x46);
  return NULL;
}

void slots_destroy(void* node) {
  CALL(void, node, 3);
}

void slots_destroy_and_free(void* node) {
  CALL(void, node, 4);
}
