# The public headers, with their paths in this tree. Every one compiles alone, and what it declares
# links against qbt2::decoder or qbt2::host; tests/packaging checks both.

# What host and plug-in share. The decoder unit's own headers stay inside.
set(QBT2_INSTALLED_HEADERS
  interfaces/decoder_unit_if.h
  interfaces/device_config_manager_if.h
  interfaces/device_session_if.h
  interfaces/job_manager_if.h
  interfaces/qbt2_export.h
  interfaces/record_format.h
  interfaces/sample_format.h)

# The plug-in's exported classes and functions.
list(APPEND QBT2_INSTALLED_HEADERS
  common/source/errors/error_code.h
  common/source/logging/debug_log.h
  common/source/source_utilities/extract_number.h
  common/source/source_utilities/source_utilities_error.h
  common/source/source_utilities/uEnvironment.h
  common/source/source_utilities/uFile.h
  common/source/source_utilities/uLogger.h
  common/source/source_utilities/uMutex.h
  common/source/source_utilities/uString.h
  platforms/source/device/component.h
  platforms/source/device/device_base.h
  platforms/source/device/device_identifier.h
  platforms/source/device/device_result.h
  platforms/source/device/module_map.h
  platforms/source/device/named_collection.h
  platforms/source/device/property_entry.h
  platforms/source/device/target.h
  platforms/source/device/trace_receiver.h
  platforms/source/device/trace_route.h
  platforms/source/device/trace_topology.h
  platforms/source/trace/clean_string.h
  platforms/source/trace/device_config_manager.h
  platforms/source/trace/device_config_manager_stm.h
  platforms/source/trace/system_trace_maps.h
  platforms/source/trace/tdf_format.h
  platforms/source/trace/tdf_handler.h
  platforms/source/trace/tdf_helper.h
  platforms/source/trace/tdf_helper_decoder_info.h
  platforms/source/trace/tdf_helper_device_config.h
  platforms/source/trace/tdf_helper_device_identifier.h
  platforms/source/trace/tdf_helper_trace_header.h
  platforms/source/trace/tdf_walker.h
  platforms/source/trace/usecase_system.h
  target_operations/ReferenceCount.h
  target_operations/boolean_property.h
  target_operations/host_interfaces.h
  target_operations/integer_property.h
  target_operations/location_property.h
  target_operations/operations.h
  target_operations/property.h
  target_operations/property_casts.h
  target_operations/property_interfaces.h
  target_operations/property_values.h
  target_operations/reference_counting.h
  target_operations/reference_handle.h
  target_operations/string_property.h)

# The host library: the pipeline, rows as values and as text, and what these headers include.
list(APPEND QBT2_INSTALLED_HEADERS
  host/base/error.h
  host/base/input_file.h
  host/base/output_file.h
  host/base/replacement_file.h
  host/base/temporary_files.h
  host/base/text_buffer.h
  host/capture/assembly_counts.h
  host/capture/capture_format.h
  host/capture/capture_reader.h
  host/capture/file_kind.h
  host/capture/framing.h
  host/capture/sample_batch.h
  host/decode/decode_request.h
  host/decode/decoder_library.h
  host/decode/pipeline.h
  host/decode/row_sink.h
  host/decode/run_observer.h
  host/decode/run_report.h
  host/decode/text_sink.h
  host/format/row_formatter.h
  host/rows/named_master.h
  host/rows/row_batch.h
  host/rows/row_fields.h)
