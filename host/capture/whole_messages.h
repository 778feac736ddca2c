#pragma once

#include <cstddef>
#include <cstdint>

#include "host/capture/finished_messages.h"
#include "host/capture/framing.h"
#include "host/capture/message_sources.h"
#include "host/capture/stream_offsets.h"
#include "host/stp/stp_cursor.h"

/// Messages that lie whole in the stream, with no packet of another source between, as nearly all
/// do. Each is taken as one: its words go from the stream straight into the batch, two at a time.
/// MessageAssembler reads all others packet by packet.
namespace qbt2 {

class WholeMessages {
 public:
  /// What a message changes. Not owned.
  struct Assembly {
    MessageSources& sources;
    FinishedMessages& finished;
    StreamOffsets* offsets;
    bool time_known;      ///< whether a timestamp was seen
    std::uint64_t words;  ///< of messages
  };

  /// Takes the messages at the cursor, one after the other, up to the first packet that does not
  /// belong to one; returns the cursor there. Timestamps have natural coding.
  static StpCursor take(Framing framing, StpCursor cursor, Assembly& assembly);
};

}  // namespace qbt2
