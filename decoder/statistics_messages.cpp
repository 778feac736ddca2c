#include <algorithm>
#include <string>

#include "decoder/StpQBTracer2DecoderImpl.h"
#include "decoder/row_texts.h"

bool StpQBTracer2Decoder::IsSuppressed(const std::vector<unsigned int>& words) const {
  return zeroSuppress &&
         std::all_of(words.begin(), words.end(), [](unsigned int word) { return word == 0; });
}

void StpQBTracer2Decoder::ProcessThroughputMessage(std::vector<unsigned int> words,
                                                   Qbt2ProbeData_t probe) {
  if (words.size() != kThroughputWords || IsSuppressed(words)) return;
  WriteRowHead(probe, StatisticsDescription("Throughput", probe,
                                            convert_int_to_hex_string(probe.samplingPeriod)));
  for (const MessageField& field : kThroughputFields) {
    WriteColumn(field.column, Extract(words.data(), field.value));
  }
  WriteColumn(eQbt2Column::AvgLength, AverageLength(words.data()));
  WriteRawWords(words);
  WriteRowEnd();
}

void StpQBTracer2Decoder::ProcessLatencyMessage(std::vector<unsigned int> words,
                                                Qbt2ProbeData_t probe) {
  if (words.size() != kLatencyWords || IsSuppressed(words)) return;
  WriteRowHead(probe, StatisticsDescription("Latency", probe,
                                            convert_int_to_hex_string(probe.samplingPeriod)));
  for (const MessageField& field : kLatencyFields) {
    WriteColumn(field.column, Extract(words.data(), field.value));
  }
  WriteRawWords(words);
  WriteRowEnd();
}
