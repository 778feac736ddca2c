#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// The decoder's 45 columns: their texts, sizes and order.
///
/// One constant table for the interface's column calls, the message layouts and the output rows.
/// Any thread may read it.

/// Id of a column that the host has not numbered yet.
inline constexpr std::uint32_t COLUMN_UNASSIGNED = 0xBAD0BAD0;

/// Position of a column in the catalogue.
enum class eQbt2Column : std::uint8_t {
  Bytes,
  Matched,
  AvgLength,
  Tracked,
  MatchedTransactions,
  MaxWait,
  TotalWait,
  CreditWait,
  Mode,
  RouteId,
  Dir,
  Excl,
  ByteCount,
  Priority,
  Lsize,
  Priv,
  PrivId,
  Dtype,
  Rsel,
  Interest,
  Emudbg,
  Inner,
  Outer,
  Sdomain,
  Qos,
  Secure,
  Memtype,
  Opcode,
  Csband,
  Flush,
  Epriority,
  OrderId,
  Msband,
  Fwpass,
  Pable,
  VirtualId,
  Asel,
  Atype,
  ChannelId,
  RawMsg0,
  RawMsg1,
  RawMsg2,
  RawMsg3,
  RawMsg4,
  RawMsg5,
  Count,
};

inline constexpr std::size_t kColumnCount = static_cast<std::size_t>(eQbt2Column::Count);
static_assert(kColumnCount == 45);

/// One row of the catalogue.
struct qbt2StaticColumnInfo {
  std::string_view displayName;  ///< shown to the user and handed to the host
  std::string_view keyName;
  std::string_view description;
  std::uint32_t dataSize;  ///< bytes of a value in the output: 1, 2 or 4
  eQbt2Column position;    ///< the row's own place in the table
};

/// The texts are part of the interface and deliberately stay as they are, with "tranaction" and the
/// uneven use of a trailing "_": the key "Matched" belongs to row 4, while row 1, displayed as
/// "Matched", has the key "Matched_". Row 35 deliberately has one byte although its field has
/// twelve bits: the upper four are cut.
inline constexpr std::array<qbt2StaticColumnInfo, kColumnCount> qbt2Columns{{
    {"Byte Transactions", "Bytes", "Number of byte transactions recorded per sampling window.", 4,
     eQbt2Column::Bytes},
    {"Matched", "Matched_",
     "Number of byte transactions recorded per sampling window that have matched filtering "
     "criteria.",
     4, eQbt2Column::Matched},
    {"Avg. Length", "AvgLength",
     "Average tranaction length (Total transactions / total matched transactions)", 4,
     eQbt2Column::AvgLength},
    {"Tracked", "Tracked", "Total number of tracked transactions recorded per sampling window.", 4,
     eQbt2Column::Tracked},
    {"Matched Transactions", "Matched",
     "Total number of matched transactions recorded per sampling window.", 4,
     eQbt2Column::MatchedTransactions},
    {"Max Wait", "MaxWait", "Maximum wait", 2, eQbt2Column::MaxWait},
    {"Total Wait", "TotalWait", "Total wait", 4, eQbt2Column::TotalWait},
    {"Credit Wait", "CreditWait", "Credit wait", 4, eQbt2Column::CreditWait},
    {"Mode", "Mode_", "the value of the transaction address mode (0x0 - 0x3)", 1,
     eQbt2Column::Mode},
    {"Route ID", "RouteID", "route ID (0x0 - 0xFFF)", 2, eQbt2Column::RouteId},
    {"DIR", "DIR_", "the direction of the transaction", 1, eQbt2Column::Dir},
    {"EXCL", "EXCL_", "the transaction is exclusive", 1, eQbt2Column::Excl},
    {"Byte Count", "ByteCount", "the byte count for the transaction (0x0 - 0x3FF)", 2,
     eQbt2Column::ByteCount},
    {"Priority", "Priority_", "the priority level of the transaction (0x0 - 0x7)", 1,
     eQbt2Column::Priority},
    {"LSIZE", "LSIZE_", "the line size wrap qualifier for the transaction (0x0 - 0x7)", 1,
     eQbt2Column::Lsize},
    {"PRIV", "PRIV_", "the privilege level of the transaction (0x0 - 0x3)", 1, eQbt2Column::Priv},
    {"PRIVID", "PRIVID_", "the (secure) privilege ID of the transaction (0x0 - 0x0FF)", 1,
     eQbt2Column::PrivId},
    {"DTYPE", "DTYPE_", "the data type of the transaction (0x0 - 0x3)", 1, eQbt2Column::Dtype},
    {"RSEL", "RSEL_", "the region of the transaction (0x0 - 0xF)", 1, eQbt2Column::Rsel},
    {"Interest", "Interest_", "interest bit qualifier of the transaction", 1,
     eQbt2Column::Interest},
    {"EMUDBG", "EMUDBG_", "transaction initiated by debug", 1, eQbt2Column::Emudbg},
    {"INNER", "INNER_", "transaction for inner cache domain (0x0 - 0x3)", 1, eQbt2Column::Inner},
    {"OUTER", "OUTER_", "transaction for outer cache domain (0x0 - 0x3)", 1, eQbt2Column::Outer},
    {"SDOMAIN", "SDOMAIN_", "the shareability domain of the transaction (0x0 - 0x3)", 1,
     eQbt2Column::Sdomain},
    {"QOS", "QOS_", "the QOS of the transaction (0x0 - 0x7)", 1, eQbt2Column::Qos},
    {"SECURE", "SECURE_", "the transaction is secure", 1, eQbt2Column::Secure},
    {"MEMTYPE", "MEMTYPE_", "the memory type of the transaction (0x0 - 0x3)", 1,
     eQbt2Column::Memtype},
    {"OPCODE", "OPCODE_", "the opcode of the transaction (0x0 - 0x3F)", 1, eQbt2Column::Opcode},
    {"CSBAND", "CSBAND_", "the CSIDEBAND bus (0x0 - 0xFF)", 1, eQbt2Column::Csband},
    {"FLUSH", "FLUSH_", "signal to slave ignore invalid transaction", 1, eQbt2Column::Flush},
    {"EPRIORITY", "EPRIORITY_", "the extended priority level of the transaction (0x0 - 0x7)", 1,
     eQbt2Column::Epriority},
    {"Order ID", "ORDERID",
     "the extended initiator identifier used for ordering for a specific route ID (0x0 - 0xF)", 1,
     eQbt2Column::OrderId},
    {"MSBAND", "MSBAND_", "the CMSIDEBAND bus mirrored sideband (0x0 - 0x3F)", 1,
     eQbt2Column::Msband},
    {"FWPASS", "FWPASS_", "firewall pass status (0x0 - 0x3)", 1, eQbt2Column::Fwpass},
    {"PABLE", "PABLE_", "the memory request can be pre-fetched", 1, eQbt2Column::Pable},
    {"Virtual ID", "VIRTID", "the virtual master ID for the transaction (0x0 - 0xFFF)", 1,
     eQbt2Column::VirtualId},
    {"ASEL", "ASEL_", "external address selection index (0x0 - 0xF)", 1, eQbt2Column::Asel},
    {"ATYPE", "ATYPE_", "the address type designation for the transaction (0x0 - 0x3)", 1,
     eQbt2Column::Atype},
    {"Channel ID", "CHANNELID", "the value of the Channel ID Bus (0x0 - 0xFFF)", 2,
     eQbt2Column::ChannelId},
    {"Raw QBT2 MSG0", "RawQBT2_0", "Decoded STPV2 data.", 4, eQbt2Column::RawMsg0},
    {"Raw QBT2 MSG1", "RawQBT2_1", "Decoded STPV2 data.", 4, eQbt2Column::RawMsg1},
    {"Raw QBT2 MSG2", "RawQBT2_2", "Decoded STPV2 data.", 4, eQbt2Column::RawMsg2},
    {"Raw QBT2 MSG3", "RawQBT2_3", "Decoded STPV2 data.", 4, eQbt2Column::RawMsg3},
    {"Raw QBT2 MSG4", "RawQBT2_4", "Decoded STPV2 data.", 4, eQbt2Column::RawMsg4},
    {"Raw QBT2 MSG5", "RawQBT2_5", "Decoded STPV2 data.", 4, eQbt2Column::RawMsg5},
}};

/// Whether every row is at its position and has texts and a valid size.
consteval bool CatalogueIsSound() {
  for (std::size_t k = 0; k < qbt2Columns.size(); ++k) {
    const qbt2StaticColumnInfo& row = qbt2Columns.at(k);
    const bool sizeIsGood = row.dataSize == 1 || row.dataSize == 2 || row.dataSize == 4;
    if (static_cast<std::size_t>(row.position) != k || !sizeIsGood || row.displayName.empty() ||
        row.keyName.empty() || row.description.empty()) {
      return false;
    }
  }
  return true;
}
static_assert(CatalogueIsSound());

/// The catalogue row of a column.
constexpr const qbt2StaticColumnInfo& ColumnInfo(eQbt2Column column) {
  return qbt2Columns[static_cast<std::size_t>(column)];
}

/// The state of one column in a decoder unit.
struct DecoderColumn {
  bool auxFlag0 = false;  ///< never read
  std::string name;
  std::uint32_t columnId = COLUMN_UNASSIGNED;
  bool auxFlag1 = true;  ///< never read
  bool disabled = true;
  bool enabled = false;  ///< always the inverse of `disabled`
};

/// In catalogue order.
using DecoderColumns = std::array<DecoderColumn, kColumnCount>;

/// Sets the name of each entry to the display name of its row.
void NameColumns(DecoderColumns& columns);

/// The catalogue row of `column`, an entry of `columns`: that of the first entry with its name.
const qbt2StaticColumnInfo& FindColumnInfo(const DecoderColumns& columns,
                                           const DecoderColumn& column);
