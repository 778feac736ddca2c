#include "decoder/StpQBTracer2DecoderImpl.h"
#include "decoder/row_texts.h"

void StpQBTracer2Decoder::ProcessTransactionMessage(std::vector<unsigned int> words,
                                                    Qbt2ProbeData_t probe) {
  if (words.size() != kTransactionWords || IsSuppressed(words)) return;
  WriteRowHead(probe, kTransactionDescription);
  OutputDataToBuffer(eMsgDataSize8, Extract(words.data(), kTransactionAddress),
                     RecordFormat::kAddressPosition, true);
  for (const MessageField& field : kTransactionFields) {
    WriteColumn(field.column, Extract(words.data(), field.value));
  }
  WriteRawWords(words);
  WriteRowEnd();
}
