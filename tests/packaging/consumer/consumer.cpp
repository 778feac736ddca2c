// Uses one thing of each installed layer: the contract, the plug-in's classes, the host library.
#include <cstdio>

#include "host/decode/decoder_library.h"
#include "platforms/source/trace/tdf_handler.h"
#include "target_operations/operations.h"

int main() {
  const qbt2::DecoderLibrary library;
  const qbt2::DecoderLibrary::Unit unit = library.create_unit();
  const qbt2::ColumnCatalogue catalogue = qbt2::read_catalogue(*unit);
  const bool is_tdf = Kz::Dvt::Trace::TDFHandler().ISTDF("no-such-file.tdf");
  const bool no_cast = CastIString(nullptr) == nullptr;
  std::printf("%zu columns, first %s\n", catalogue.columns.size(),
              catalogue.columns[0].key.c_str());
  return catalogue.columns.size() == 45 && !is_tdf && no_cast ? 0 : 1;
}
