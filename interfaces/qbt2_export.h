#pragma once

/// Marks what leaves the shared library. Everything else has hidden visibility; the linker's export
/// list (decoder/exports.map) is the second gate, so that what leaves stays a decision in one
/// place.
#define QBT2_API __attribute__((visibility("default")))
