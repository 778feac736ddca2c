#pragma once

/// The sections of a trace data file, one class each: KzTrace_t the description of a capture,
/// TraceDecode_t the decoder information, DeviceIdentifier_t the devices and processors it came
/// from, DeviceConfig_t the device's settings. docs/formats/tdf.md and docs/use/settings.md
/// describe the layouts and texts.
///
/// All have one shape: an object has the file name and a file type (0 is a TDF file); Save and Load
/// return whether they succeeded and leave a message in `errorText` when not. Neither throws.
/// Malformed lines inside a section never fail a load: they go to the debug log at the error level
/// and are skipped. One thread at a time uses an object; the OutputX and InputX functions touch no
/// object and no global state but that log.
#include "platforms/source/trace/clean_string.h"
#include "platforms/source/trace/tdf_helper_decoder_info.h"
#include "platforms/source/trace/tdf_helper_device_config.h"
#include "platforms/source/trace/tdf_helper_device_identifier.h"
#include "platforms/source/trace/tdf_helper_trace_header.h"
