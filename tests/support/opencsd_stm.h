#pragma once

#include <opencsd/c_api/opencsd_c_api.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>

/// libopencsd's STM packet lister, for comparison with StpReader and FrameDemultiplexer. One
/// thread.
namespace qbt2::test {

class OpencsdStm {
 public:
  using OnPacket = void (*)(void* context, std::uint64_t index, const ocsd_stm_pkt& packet);

  /// `frames`: the bytes are memory-aligned formatter frames, of which the source `atb_id` is
  /// listed.
  OpencsdStm(bool frames, std::uint8_t atb_id, OnPacket on_packet, void* context)
      : on_packet_(on_packet), context_(context) {
    tree_ = ocsd_create_dcd_tree(frames ? OCSD_TRC_SRC_FRAME_FORMATTED : OCSD_TRC_SRC_SINGLE,
                                 frames ? OCSD_DFRMTR_FRAME_MEM_ALIGN : 0);
    ocsd_stm_cfg config{};
    config.reg_tcsr = std::uint32_t{atb_id} << 16;
    config.reg_feat3r = 0x80;
    config.reg_devid = 0xFF;
    config.hw_event = HwEvent_Unknown_Disabled;
    std::uint8_t id = 0;
    // A monitor, not a sink: the C interface's packet sink fails on a null pointer here.
    if (tree_ == nullptr ||
        ocsd_dt_create_decoder(tree_, OCSD_BUILTIN_DCD_STM, OCSD_CREATE_FLG_PACKET_PROC, &config,
                               &id) != OCSD_OK ||
        ocsd_dt_attach_packet_callback(tree_, id, OCSD_C_API_CB_PKT_MON,
                                       reinterpret_cast<void*>(&OpencsdStm::monitor),
                                       this) != OCSD_OK) {
      throw std::runtime_error("libopencsd has no STM packet lister");
    }
  }
  ~OpencsdStm() { ocsd_destroy_dcd_tree(tree_); }
  OpencsdStm(const OpencsdStm&) = delete;
  OpencsdStm& operator=(const OpencsdStm&) = delete;

  /// False when the library gave up.
  bool push(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
      const auto size = static_cast<std::uint32_t>(std::min<std::size_t>(bytes.size(), 1U << 16));
      std::uint32_t used = 0;
      const auto response = ocsd_dt_process_data(
          tree_, OCSD_OP_DATA, static_cast<ocsd_trc_index_t>(index_), size, bytes.data(), &used);
      if (OCSD_DATA_RESP_IS_FATAL(response) || used == 0) return false;
      index_ += used;
      bytes = bytes.subspan(used);
    }
    return true;
  }
  void finish() { ocsd_dt_process_data(tree_, OCSD_OP_EOT, 0, 0, nullptr, nullptr); }

 private:
  static void monitor(const void* self, ocsd_datapath_op_t op, ocsd_trc_index_t index,
                      const void* packet, std::uint32_t /*size*/, const std::uint8_t* /*data*/) {
    if (op != OCSD_OP_DATA || packet == nullptr) return;
    const auto* lister = static_cast<const OpencsdStm*>(self);
    lister->on_packet_(lister->context_, index, *static_cast<const ocsd_stm_pkt*>(packet));
  }

  dcd_tree_handle_t tree_ = nullptr;
  OnPacket on_packet_;
  void* context_;
  std::uint64_t index_ = 0;
};

}  // namespace qbt2::test
