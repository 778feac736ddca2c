// Decodes a sample with the host library's pipeline and uses the plug-in's classes.
#include <cstdio>
#include <exception>
#include <fstream>

#include "host/decode/pipeline.h"
#include "host/decode/text_sink.h"

bool plugin_classes_work();

int main(int, char** argv) try {
  // Probe 5, two words: 100 byte transactions in a window, 25 of them matched.
  const unsigned char sample[] = {0, 5, 0, 0, 10, 0, 0, 0, 4, 100, 0, 0, 0, 4, 25, 0, 0, 0};
  const std::string path = std::string(argv[0]) + ".qbt2s";
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(sample), sizeof sample);

  qbt2::DecodeRequest request;
  request.captures = {path};
  request.input = qbt2::CaptureFormat::kSamples;
  qbt2::Pipeline pipeline(request);
  std::size_t rows = 0;
  while (const auto decoded = pipeline.next()) {
    for (std::size_t row = 0; row < decoded->rows->size(); ++row, ++rows) {
      if (decoded->rows->value(0, row) != 100) return 1;
    }
  }
  std::printf("%zu columns, %zu row\n", pipeline.catalogue().columns.size(), rows);
  return rows == 1 && !pipeline.report().damaged() && plugin_classes_work() ? 0 : 1;
} catch (const std::exception& error) {
  std::fprintf(stderr, "consumer: %s\n", error.what());
  return 2;
}
