#include "decoder/output_record.h"

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

/// The cursor as the record prints it: the address, cut to an int.
int CursorAsInt(const std::uint8_t* cursor) {
  return static_cast<int>(reinterpret_cast<std::intptr_t>(cursor));
}

}  // namespace

// The room check asks for one free byte whatever the value's size, and comes when the position byte
// is already stored. Deliberate: hosts hand in a buffer that holds a whole row with some slack, and
// a full one shows at the next field. docs/formats/record.md says how far a write can pass the end.
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

// Position and length (5 bytes) are not part of the room check, and the text is copied up to its
// first zero byte while the field keeps its full length. Deliberate, both: readers rely on the
// lengths.
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
  const std::string master = probe.recordFound ? probe.probeName : kUnknownMaster;
  const std::string type = kTypeText;
  OutputDataToBuffer(eMsgDataSize1, probe.probeId, kPositionProbeId, true);
  OutputStringToBuffer(&master, kPositionMasterName);
  OutputStringToBuffer(&type, kPositionType);
  OutputStringToBuffer(&description, kPositionDescription);
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

// Without a room check, deliberately: the field before it has had one.
void StpQBTracer2Decoder::WriteRowEnd() {
  *outputCursor++ = ROW_END_MARKER;
  ++bytesWritten;
}
