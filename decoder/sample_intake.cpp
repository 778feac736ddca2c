#include <limits>
#include <utility>

#include "decoder/StpQBTracer2DecoderImpl.h"
#include "decoder/decoder_log.h"

using Kz::Dvt::Trace::DecodeError;

namespace {

/// Without memory the record is lost: nothing but DecodeError leaves ProcessSamples.
void LogFailure(const char* text) noexcept {
  try {
    QBT2_LOG(kLogAboveTwo, KZ_DVT::uLogKindError, kDecoderLogStyle, "%s", text);
  } catch (...) {  // NOLINT(bugprone-empty-catch): see above
  }
}

[[noreturn]] void FailUnknown() {
  LogFailure("StpQBTracer2Decoder: unknown error");
  throw DecodeError{2, 0};
}

}  // namespace

void StpQBTracer2Decoder::ProcessSamples(std::uint32_t /*unused*/, std::uint8_t* input,
                                         std::uint32_t capacity, std::uint8_t* output,
                                         std::uint32_t& bytesProduced) {
  if (input == nullptr || output == nullptr) FailUnknown();
  inputBuffer = input;
  currentProbeId = input[SampleFormat::kProbeIdOffset];
  outputCursor = output;
  outputCapacity = capacity;
  if (WritePreparedRow()) {
    bytesProduced = bytesWritten;
    return;
  }
  try {
    DecodeSample();
  } catch (const DecodeError&) {
    LogFailure("StpQBTracer2Decoder: Decode error");
    throw;
  } catch (...) {
    FailUnknown();
  }
  if (bytesWritten == 0) {
    // Deliberately without a room check: a host has to leave room for this byte.
    *outputCursor = NO_DATA_MARKER;
    bytesProduced = 1;
    return;
  }
  bytesProduced = bytesWritten;
}

// The fast path; it leaves the unit in the same state as DecodeSample.
bool StpQBTracer2Decoder::WritePreparedRow() {
  const std::uint32_t payload = LoadLittleEndian32(inputBuffer + SampleFormat::kPayloadBytesOffset);
  const std::uint32_t rowBytes =
      zeroSuppress ? 0 : preparedRows.Write(inputBuffer, payload, outputCapacity, outputCursor);
  if (rowBytes == 0) return false;
  payloadBytes = payload;
  readIndex = SampleFormat::kHeaderBytes + payload;
  outputCursor += rowBytes;
  bytesWritten = rowBytes;
  return true;
}

void StpQBTracer2Decoder::DecodeSample() {
  Qbt2ProbeData_t probe = GetProbeData(currentProbeId);
  readIndex = SampleFormat::kPayloadBytesOffset;
  bytesWritten = 0;
  if (outputCapacity < RecordFormat::kLowCapacity) {
    QBT2_LOG(kLogAboveTwo, KZ_DVT::uLogKindWarning, kDecoderLogStyle,
             "StpQBTracer2Decoder: output buffer size is low: %d",
             static_cast<int>(outputCapacity));
  }
  ProcessQBTracerData(std::move(probe));
}

Qbt2ProbeData_t StpQBTracer2Decoder::GetProbeData(std::uint8_t id) const {
  for (const Qbt2ProbeData_t& probe : probes) {
    if (probe.probeId == id) return probe;
  }
  Qbt2ProbeData_t unknown;
  unknown.probeId = id;
  return unknown;
}

bool StpQBTracer2Decoder::ProcessQBTracerData(Qbt2ProbeData_t probe) {
  MessageWords message;
  if (!CollectWords(message)) return false;
  switch (message.count) {
    case kThroughputWords:
      ProcessThroughputMessage(message.ToVector(), std::move(probe));
      return true;
    case kLatencyWords:
      ProcessLatencyMessage(message.ToVector(), std::move(probe));
      return true;
    case kTransactionWords:
      ProcessTransactionMessage(message.ToVector(), std::move(probe));
      return true;
    default:
      return false;
  }
}

// The payload size in the header is the host's statement of how far the sample can be read: no byte
// past it is read. A size that puts the end of the sample beyond 32 bits is rejected at the first
// word.
bool StpQBTracer2Decoder::CollectWords(MessageWords& message) {
  payloadBytes = LoadLittleEndian32(inputBuffer + readIndex);
  readIndex += SampleFormat::kPayloadCountBytes;
  if (payloadBytes == 0) return false;
  for (std::uint32_t consumed = 0; consumed < payloadBytes;) {
    const std::uint8_t length = inputBuffer[readIndex++];
    CheckWordEnd(length);
    if (length != SampleFormat::kWordLength) {
      readIndex += length;
      QBT2_LOG(kLogAboveTwo, KZ_DVT::uLogKindError, kDecoderLogStyle,
               "ProcessQBTracer2Data: GetWordFromInputBuffer Failed. index: %d, TotalBytes: %d",
               static_cast<int>(consumed), static_cast<int>(payloadBytes));
      return false;
    }
    message.Append(LoadLittleEndian32(inputBuffer + readIndex));
    readIndex += SampleFormat::kWordLength;
    consumed += SampleFormat::kPairBytes;
  }
  return true;
}

void StpQBTracer2Decoder::CheckWordEnd(std::uint8_t length) const {
  const std::uint64_t end = std::uint64_t{readIndex} + length;
  const std::uint64_t sampleEnd = std::uint64_t{payloadBytes} + SampleFormat::kHeaderBytes;
  if (end > sampleEnd || sampleEnd > std::numeric_limits<std::uint32_t>::max()) {
    QBT2_LOG(kLogAboveTwo, KZ_DVT::uLogKindError, kDecoderLogStyle,
             "StmQBTracerDecoder: Input Buffer size is too small 0x%x", payloadBytes);
    throw DecodeError{2, 0};
  }
}
