#include <cstring>

#include "decoder/StpQBTracer2DecoderImpl.h"
#include "decoder/decoder_log.h"
#include "decoder/row_texts.h"

using Kz::Dvt::Trace::DecodeError;

namespace {

bool IsValueSize(eMsgDataSizeType size) {
  return size == eMsgDataSize1 || size == eMsgDataSize2 || size == eMsgDataSize4 ||
         size == eMsgDataSize8;
}

/// The cursor as the log record prints it: the address, cut to an int.
int CursorAsInt(const std::uint8_t* cursor) {
  return static_cast<int>(reinterpret_cast<std::intptr_t>(cursor));
}

}  // namespace

// The room check comes after the position byte is stored, and asks for one free byte whatever the
// value's size. Deliberate: hosts pass a buffer with room for a whole row, and a full one is
// detected at the next field. RecordFormat::kSlackBytes is how far a row can run past the capacity.
void StpQBTracer2Decoder::OutputDataToBuffer(eMsgDataSizeType size, std::uint64_t value,
                                             std::uint8_t position, bool withPosition) {
  if (withPosition) {
    *outputCursor++ = position;
    ++bytesWritten;
  }
  if (outputCapacity <= bytesWritten) {
    QBT2_LOG(kLogAboveOff, KZ_DVT::uLogKindError, kDecoderLogStyle,
             "StmQBTracerDecoder::OutputDataToBuffer: \t\t\t\toutput datasize is too small. Need: "
             "%d, Avaiable: %d",
             CursorAsInt(outputCursor), static_cast<int>(bytesWritten));
    throw DecodeError{0, bytesWritten};
  }
  if (!IsValueSize(size)) {
    QBT2_LOG(kLogAboveTwo, KZ_DVT::uLogKindWarning, kDecoderLogStyle,
             "StmQBTracerDecoder::OutputDataToBuffer: dataSize has invalid value: %d",
             static_cast<int>(size));
    throw DecodeError{0, 0};
  }
  for (std::uint32_t byte = 0; byte < size; ++byte) {
    *outputCursor++ = static_cast<std::uint8_t>(value >> (byte * 8));
  }
  bytesWritten += size;
}

// The room check leaves out position and length (5 bytes), and the text is copied up to its first
// zero byte only, while the field keeps its full length. Both are deliberate: hosts rely on them.
void StpQBTracer2Decoder::OutputStringToBuffer(const std::string* text, std::uint8_t position) {
  if (text == nullptr) return;
  const std::uint64_t needed = std::uint64_t{bytesWritten} + text->size();
  if (needed > outputCapacity) {
    throw DecodeError{0, static_cast<std::uint32_t>(needed)};
  }
  const auto length = static_cast<std::uint32_t>(text->size());
  OutputDataToBuffer(eMsgDataSize4, length, position, true);
  std::memcpy(outputCursor, text->c_str(), std::strlen(text->c_str()) + 1);
  outputCursor += length;
  bytesWritten += length;
}

std::string StpQBTracer2Decoder::convert_int_to_hex_string(std::uint32_t value) const {
  return HexDigits(value);
}

std::uint8_t StpQBTracer2Decoder::ColumnPosition(eQbt2Column column) const {
  return static_cast<std::uint8_t>(columns[static_cast<std::size_t>(column)].columnId);
}

void StpQBTracer2Decoder::WriteRowHead(const Qbt2ProbeData_t& probe,
                                       const std::string& description) {
  const std::string master = probe.recordFound ? probe.probeName : RecordFormat::kUnknownMaster;
  const std::string type = RecordFormat::kTypeText;
  OutputDataToBuffer(eMsgDataSize1, probe.probeId, RecordFormat::kProbePosition, true);
  OutputStringToBuffer(&master, RecordFormat::kMasterPosition);
  OutputStringToBuffer(&type, RecordFormat::kTypePosition);
  OutputStringToBuffer(&description, RecordFormat::kDescriptionPosition);
}

void StpQBTracer2Decoder::WriteColumn(eQbt2Column column, std::uint64_t value) {
  const auto size = static_cast<eMsgDataSizeType>(ColumnInfo(column).dataSize);
  OutputDataToBuffer(size, value, ColumnPosition(column), true);
}

void StpQBTracer2Decoder::WriteRawWords(const std::vector<unsigned int>& words) {
  for (std::size_t word = 0; word < words.size(); ++word) {
    WriteColumn(RawWordColumn(word), words[word]);
  }
}

// Deliberately without a room check: the field before it had one.
void StpQBTracer2Decoder::WriteRowEnd() {
  *outputCursor++ = ROW_END_MARKER;
  ++bytesWritten;
}
