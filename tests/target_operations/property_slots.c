#include "tests/target_operations/property_slots.h"

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

/* Bases are virtual: an operation of a base is called on the base, which lies as far from the
   object as a word before the table's slots says. The base's slots in the object's own table may
   be null. Words, counted back from slot 0. */
enum { REFERENCE_COUNT = 7, PROPERTY = 15, LOCATION = 22 };

static void* base_of(void* object, unsigned int word) {
  return (char*)object + (*(ptrdiff_t**)object)[-(ptrdiff_t)word];
}

/* How a result is compared: arguments and results travel in registers of 64 bits, of which a
   narrower type fills the low ones only. WROTE calls nothing: it looks at what the call before left
   in the out-parameter number `slot`. RELEASE lets go of an IProperty, the only argument. */
typedef enum { NOTHING, BOOL, UINT, ULONG, TEXT, ADDRESS, WROTE, RELEASE } Result;

typedef struct {
  unsigned int slot;
  uintptr_t arguments[2];
  Result result;
  uintptr_t expected;
} Step;

enum { UNTOUCHED = 77 };
static uintptr_t outs[2];
#define OUT(n) ((uintptr_t)&outs[n])
#define P(pointer) ((uintptr_t)(pointer))

static uintptr_t call(void* object, const Step* step) {
  typedef uintptr_t (*Slot)(void*, uintptr_t, uintptr_t);
  outs[0] = outs[1] = UNTOUCHED;
  return (*(Slot**)object)[step->slot](object, step->arguments[0], step->arguments[1]);
}

static uintptr_t result_of(void* node, const Step* step) {
  if (step->result == WROTE) return outs[step->slot];
  if (step->result != RELEASE) return call(node, step);
  const Step release = {1, {0}, UINT, 0};
  return call(base_of((void*)step->arguments[0], REFERENCE_COUNT), &release);
}

static int as_expected(uintptr_t got, const Step* step) {
  switch (step->result) {
    case NOTHING:
      return 1;
    case BOOL:
      return (got & 0xFF) == step->expected;
    case UINT:
    case RELEASE:
      return (uint32_t)got == (uint32_t)step->expected;
    case TEXT:
      return strcmp((const char*)got, (const char*)step->expected) == 0;
    default:
      return got == step->expected;
  }
}

static const char* run(void* node, const Step* steps, size_t count) {
  static char failure[80];
  for (size_t i = 0; i < count; ++i) {
    const uintptr_t got = result_of(node, &steps[i]);
    if (as_expected(got, &steps[i])) continue;
    snprintf(failure, sizeof failure, "step %zu, slot %u: got %#lx", i, steps[i].slot, got);
    return failure;
  }
  return NULL;
}
#define COUNT(steps) (sizeof(steps) / sizeof(steps)[0])
#define RUN(node, steps) run(node, steps, COUNT(steps))

static const char* slots_ireference_count(void* node, unsigned int id) {
  const Step steps[] = {
      {0, {0}, UINT, 2}, {1, {0}, UINT, 2}, {2, {id}, ADDRESS, P(node)}, {1, {0}, UINT, 2}};
  return RUN(base_of(node, REFERENCE_COUNT), steps);
}

static const char* run_counted(void* node, unsigned int id, const Step* steps, size_t count) {
  const char* const failure = slots_ireference_count(node, id);
  return failure != NULL ? failure : run(node, steps, count);
}
#define RUN_COUNTED(node, id, steps) run_counted(node, id, steps, COUNT(steps))

const char* slots_iproperty(void* node, void* child, void* parent) {
  const Step steps[] = {
      {5, {0}, TEXT, P("n")},      {6, {0}, TEXT, P("d")},      {7, {0}, BOOL, 1},
      {8, {0}, BOOL, 0},           {9, {0}, UINT, 1},           {10, {OUT(0)}, NOTHING, 0},
      {0, {0}, WROTE, P(child)},   {0, {P(child)}, RELEASE, 2}, {11, {0}, ADDRESS, P(parent)},
      {0, {P(parent)}, RELEASE, 2}};
  return RUN_COUNTED(node, 6, steps);
}

const char* slots_iattachable(void* node, void* new_child) {
  const Step before[] = {{9, {0}, UINT, 1}};
  const Step attach[] = {{12, {P(new_child)}, NOTHING, 0}};
  const Step after[] = {{9, {0}, UINT, 2}};
  void* const property = base_of(node, PROPERTY);
  const char* failure = slots_ireference_count(node, 0);
  if (failure == NULL) failure = RUN(property, before);
  if (failure == NULL) failure = RUN(node, attach);
  return failure != NULL ? failure : RUN(property, after);
}

const char* slots_iboolean(void* node) {
  const Step steps[] = {{13, {1}, NOTHING, 0}, {12, {0}, BOOL, 1}};
  return RUN_COUNTED(node, 1, steps);
}

const char* slots_iinteger(void* node) {
  const Step steps[] = {{13, {0x123456789}, NOTHING, 0}, {12, {0}, ULONG, 0x123456789},
                        {14, {OUT(0)}, BOOL, 0},         {0, {0}, WROTE, 0},
                        {15, {OUT(0)}, NOTHING, 0},      {0, {0}, WROTE, UNTOUCHED},
                        {16, {OUT(0), OUT(1)}, BOOL, 1}, {0, {0}, WROTE, 0},
                        {1, {0}, WROTE, 0xFFFFFFFF},     {17, {0}, UINT, 0}};
  return RUN_COUNTED(node, 4, steps);
}

const char* slots_istring(void* node) {
  const char* allowed[2] = {"", ""};
  const Step steps[] = {{13, {P("B")}, NOTHING, 0},
                        {12, {0}, TEXT, P("B")},
                        {14, {OUT(0)}, BOOL, 1},
                        {0, {0}, WROTE, 2},
                        {15, {P(allowed)}, NOTHING, 0}};
  const char* const failure = RUN_COUNTED(node, 8, steps);
  if (failure != NULL) return failure;
  return strcmp(allowed[0], "A") == 0 && strcmp(allowed[1], "B") == 0 ? NULL : "allowed values";
}

static const char* slots_of_location(void* node) {
  const Step steps[] = {
      {13, {5, 0}, NOTHING, 0}, {12, {OUT(0)}, UINT, 5},    {0, {0}, WROTE, 3},
      {14, {0}, UINT, 1},       {15, {OUT(0)}, NOTHING, 0}, {0, {0}, WROTE, 0},
      {16, {0}, UINT, 0xC0},    {17, {0xC1}, NOTHING, 0},   {16, {0}, UINT, 0xC1}};
  return RUN(node, steps);
}

const char* slots_ilocation(void* node) {
  const char* const failure = slots_ireference_count(node, 5);
  return failure != NULL ? failure : slots_of_location(node);
}

const char* slots_ilocation2(void* node) {
  const Step steps[] = {
      {19, {0x123456789, 0}, NOTHING, 0}, {18, {OUT(0)}, ULONG, 0x123456789}, {0, {0}, WROTE, 3}};
  const char* failure = slots_ireference_count(node, 15);
  if (failure == NULL) failure = slots_of_location(base_of(node, LOCATION));
  return failure != NULL ? failure : RUN(node, steps);
}

static const char* slots_of_setters(void* node, void* key) {
  const Step steps[] = {
      {15, {0}, NOTHING, 0},       {8, {0}, BOOL, 0},          {16, {0x80000016}, NOTHING, 0},
      {24, {0}, UINT, 0x80000016}, {17, {P(-17)}, NOTHING, 0}, {25, {0}, UINT, P(-17)},
      {20, {1}, NOTHING, 0},       {9, {0}, BOOL, 1},          {10, {0}, BOOL, 0},
      {21, {1}, NOTHING, 0},       {10, {0}, BOOL, 1},         {35, {35}, NOTHING, 0},
      {36, {0}, UINT, 35},         {39, {0}, NOTHING, 0},      {9, {0}, BOOL, 0}};
  const Step texts[] = {
      {18, {P("child")}, NOTHING, 0}, {26, {0}, TEXT, P("child")}, {19, {P("level")}, NOTHING, 0},
      {27, {0}, TEXT, P("level")},    {14, {P(key)}, NOTHING, 0},  {22, {P("k")}, BOOL, 1},
      {23, {P("k")}, UINT, 7},        {32, {0}, NOTHING, 0},       {22, {P("k")}, BOOL, 0},
      {33, {P("name")}, NOTHING, 0},  {6, {0}, TEXT, P("name")},   {34, {P("about")}, NOTHING, 0},
      {7, {0}, TEXT, P("about")}};
  const char* const failure = RUN(node, steps);
  return failure != NULL ? failure : RUN(node, texts);
}

const char* slots_property(void* node, void* child, void* parent, void* as_interface, void* key,
                           void* vector, void* unequal) {
  const Step steps[] = {{0, {0}, UINT, 2},
                        {1, {0}, UINT, 2},
                        {2, {9}, ADDRESS, 0},
                        {5, {P(child)}, NOTHING, 0},
                        {11, {0}, UINT, 1},
                        {12, {OUT(0)}, NOTHING, 0},
                        {0, {0}, WROTE, P(child)},
                        {0, {P(child)}, RELEASE, 2},
                        {30, {P(vector)}, NOTHING, 0},
                        {0, {P(child)}, RELEASE, 2},
                        {28, {P(parent)}, NOTHING, 0},
                        {13, {0}, ADDRESS, P(as_interface)},
                        {0, {P(as_interface)}, RELEASE, 2},
                        {37, {P(node)}, BOOL, 1},
                        {37, {P(unequal)}, BOOL, 0}};
  const char* failure = slots_of_setters(node, key);
  if (failure == NULL) failure = RUN(node, steps);
  if (failure != NULL) return failure;
  const Step clone = {29, {0}, ADDRESS, 0};
  void* const copy = (void*)call(node, &clone);
  const Step of_copy[] = {{5, {0}, TEXT, P("name")}, {0, {P(copy)}, RELEASE, 1}};
  const Step last[] = {{38, {0}, NOTHING, 0}, {31, {0}, NOTHING, 0}, {11, {0}, UINT, 0}};
  failure = RUN(copy, of_copy);
  return failure != NULL ? failure : RUN(node, last);
}

const char* slots_boolean(void* node) {
  const Step steps[] = {
      {41, {1}, NOTHING, 0}, {40, {0}, BOOL, 1}, {42, {0}, NOTHING, 0}, {40, {0}, BOOL, 0}};
  return RUN(node, steps);
}

const char* slots_integer(void* node) {
  const Step steps[] = {
      {41, {41}, NOTHING, 0},  {40, {0}, ULONG, 41},       {47, {0x47}, NOTHING, 0},
      {42, {OUT(0)}, BOOL, 0}, {0, {0}, WROTE, 0},         {43, {OUT(0)}, NOTHING, 0},
      {0, {0}, WROTE, 0x47},   {48, {10, 20}, NOTHING, 0}, {44, {OUT(0), OUT(1)}, BOOL, 1},
      {0, {0}, WROTE, 10},     {1, {0}, WROTE, 20},        {45, {45}, NOTHING, 0},
      {46, {0}, UINT, 45}};
  return RUN(node, steps);
}

const char* slots_string(void* node, void* attribute, void* attributes) {
  const char* allowed = "";
  const Step steps[] = {{41, {P("free")}, NOTHING, 0},
                        {40, {0}, TEXT, P("free")},
                        {44, {P("A")}, NOTHING, 0},
                        {45, {P(attribute)}, NOTHING, 0},
                        {42, {OUT(0)}, BOOL, 1},
                        {0, {0}, WROTE, 1},
                        {43, {P(&allowed)}, NOTHING, 0},
                        {46, {P(attributes)}, NOTHING, 0},
                        {18, {P("other")}, NOTHING, 0},
                        {47, {0}, NOTHING, 0},
                        {26, {0}, TEXT, P("key")},
                        {48, {P("A"), 0}, NOTHING, 0},
                        {49, {P("A")}, BOOL, 1},
                        {50, {50}, NOTHING, 0},
                        {51, {0}, UINT, 50},
                        {52, {0}, NOTHING, 0},
                        {42, {OUT(0)}, BOOL, 0}};
  const char* const failure = RUN(node, steps);
  return failure != NULL || strcmp(allowed, "A") == 0 ? failure : "allowed value";
}

const char* slots_location(void* node) {
  const Step steps[] = {
      {41, {41, 0}, NOTHING, 0}, {46, {46}, NOTHING, 0},   {40, {OUT(0)}, UINT, 41},
      {0, {0}, WROTE, 46},       {42, {0}, UINT, 1},       {43, {OUT(0)}, NOTHING, 0},
      {0, {0}, WROTE, 0},        {44, {0x44}, NOTHING, 0}, {45, {0}, UINT, 0x44}};
  return RUN(node, steps);
}

const char* slots_location2(void* node) {
  const Step steps[] = {{48, {48}, NOTHING, 0},
                        {43, {0x100000043, 0}, NOTHING, 0},
                        {42, {OUT(0)}, ULONG, 0x100000043},
                        {40, {OUT(0)}, UINT, 0x43},
                        {0, {0}, WROTE, 48},
                        {41, {41, 0}, NOTHING, 0},
                        {42, {OUT(0)}, ULONG, 41},
                        {44, {0}, UINT, 1},
                        {45, {OUT(0)}, NOTHING, 0},
                        {0, {0}, WROTE, 0},
                        {46, {0x46}, NOTHING, 0},
                        {47, {0}, UINT, 0x46}};
  return RUN(node, steps);
}

void slots_destroy(void* node, unsigned int slot) {
  const Step step = {slot, {0}, NOTHING, 0};
  call(node, &step);
}
