// What a host in C can do: load the plug-in, make a decoder unit, decode a message. Operations are
// called through the unit's virtual table. Those that take C++ objects are out of reach, so columns
// have no ids of their own and masters no names; docs/use/plugin-interface.md has the slots.
//
//   c_host libqbt2decoder.so

#include <dlfcn.h>
#include <inttypes.h>
#include <stdint.h>
#include <stdio.h>

typedef void (*Operation)(void);  // any of them, before it is cast to its own type
typedef void (*ProcessSamples)(void* unit, uint32_t unused, uint8_t* input, uint32_t capacity,
                               uint8_t* output, uint32_t* produced);

enum { kProcessSamplesSlot = 9, kSlackBytes = 8, kRowEnd = 0xFE };

// The object begins with the address of its virtual table.
static Operation OperationOf(void* unit, int slot) {
  return (*(Operation**)unit)[slot];
}

static uint32_t NumberAt(const uint8_t* bytes) {
  return bytes[0] | (uint32_t)bytes[1] << 8 | (uint32_t)bytes[2] << 16 | (uint32_t)bytes[3] << 24;
}

// A throughput row: the probe, three texts, and values of four bytes (docs/formats/record.md).
static void PrintRow(const uint8_t* row, const uint8_t* end) {
  while (row < end && *row != kRowEnd) {
    const uint8_t position = *row++;
    if (position == 0) {
      printf("probe %d\n", *row++);
    } else if (position == 1 || position == 4 || position == 9) {
      const uint32_t length = NumberAt(row);
      printf("position %d: %.*s\n", position, (int)length, (const char*)row + 4);
      row += 4 + length;
    } else {
      printf("value %" PRIu32 "\n", NumberAt(row));
      row += 4;
    }
  }
}

int main(int argc, char** argv) {
  void* plugin = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  if (plugin == NULL) {
    fprintf(stderr, "usage: c_host libqbt2decoder.so\n");
    return 2;
  }
  void* (*create)(void) = (void* (*)(void))dlsym(plugin, "CreateDecoderUnit");
  void (*destroy)(void*) = (void (*)(void*))dlsym(plugin, "DestroyDecoderUnit");
  if (create == NULL || destroy == NULL) return 2;

  // Probe 5, two words: 100 byte transactions, of which 25 matched. C cannot catch what
  // ProcessSamples throws, so the payload size fits the words and the capacity any row.
  uint8_t sample[] = {0, 5, 0, 0, 10, 0, 0, 0, 4, 100, 0, 0, 0, 4, 25, 0, 0, 0};
  uint8_t output[512 + kSlackBytes];
  uint32_t produced = 0;
  void* unit = create();
  const ProcessSamples process = (ProcessSamples)OperationOf(unit, kProcessSamplesSlot);
  process(unit, 0, sample, sizeof output - kSlackBytes, output, &produced);
  PrintRow(output, output + produced);
  destroy(unit);
  return 0;
}
