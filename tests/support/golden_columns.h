#pragma once

#include <string_view>

namespace qbt2::test {

/// The 45 columns in catalogue order, written by hand, one a line: key, width in bits, display name
/// and description. Texts and widths are what users and hosts rely on, with their oddities.
inline constexpr std::string_view kGoldenColumns = R"(
Bytes|32|Byte Transactions|Number of byte transactions recorded per sampling window.
Matched_|32|Matched|Number of byte transactions recorded per sampling window that have matched filtering criteria.
AvgLength|32|Avg. Length|Average tranaction length (Total transactions / total matched transactions)
Tracked|32|Tracked|Total number of tracked transactions recorded per sampling window.
Matched|32|Matched Transactions|Total number of matched transactions recorded per sampling window.
MaxWait|16|Max Wait|Maximum wait
TotalWait|32|Total Wait|Total wait
CreditWait|32|Credit Wait|Credit wait
Mode_|8|Mode|the value of the transaction address mode (0x0 - 0x3)
RouteID|16|Route ID|route ID (0x0 - 0xFFF)
DIR_|8|DIR|the direction of the transaction
EXCL_|8|EXCL|the transaction is exclusive
ByteCount|16|Byte Count|the byte count for the transaction (0x0 - 0x3FF)
Priority_|8|Priority|the priority level of the transaction (0x0 - 0x7)
LSIZE_|8|LSIZE|the line size wrap qualifier for the transaction (0x0 - 0x7)
PRIV_|8|PRIV|the privilege level of the transaction (0x0 - 0x3)
PRIVID_|8|PRIVID|the (secure) privilege ID of the transaction (0x0 - 0x0FF)
DTYPE_|8|DTYPE|the data type of the transaction (0x0 - 0x3)
RSEL_|8|RSEL|the region of the transaction (0x0 - 0xF)
Interest_|8|Interest|interest bit qualifier of the transaction
EMUDBG_|8|EMUDBG|transaction initiated by debug
INNER_|8|INNER|transaction for inner cache domain (0x0 - 0x3)
OUTER_|8|OUTER|transaction for outer cache domain (0x0 - 0x3)
SDOMAIN_|8|SDOMAIN|the shareability domain of the transaction (0x0 - 0x3)
QOS_|8|QOS|the QOS of the transaction (0x0 - 0x7)
SECURE_|8|SECURE|the transaction is secure
MEMTYPE_|8|MEMTYPE|the memory type of the transaction (0x0 - 0x3)
OPCODE_|8|OPCODE|the opcode of the transaction (0x0 - 0x3F)
CSBAND_|8|CSBAND|the CSIDEBAND bus (0x0 - 0xFF)
FLUSH_|8|FLUSH|signal to slave ignore invalid transaction
EPRIORITY_|8|EPRIORITY|the extended priority level of the transaction (0x0 - 0x7)
ORDERID|8|Order ID|the extended initiator identifier used for ordering for a specific route ID (0x0 - 0xF)
MSBAND_|8|MSBAND|the CMSIDEBAND bus mirrored sideband (0x0 - 0x3F)
FWPASS_|8|FWPASS|firewall pass status (0x0 - 0x3)
PABLE_|8|PABLE|the memory request can be pre-fetched
VIRTID|8|Virtual ID|the virtual master ID for the transaction (0x0 - 0xFFF)
ASEL_|8|ASEL|external address selection index (0x0 - 0xF)
ATYPE_|8|ATYPE|the address type designation for the transaction (0x0 - 0x3)
CHANNELID|16|Channel ID|the value of the Channel ID Bus (0x0 - 0xFFF)
RawQBT2_0|32|Raw QBT2 MSG0|Decoded STPV2 data.
RawQBT2_1|32|Raw QBT2 MSG1|Decoded STPV2 data.
RawQBT2_2|32|Raw QBT2 MSG2|Decoded STPV2 data.
RawQBT2_3|32|Raw QBT2 MSG3|Decoded STPV2 data.
RawQBT2_4|32|Raw QBT2 MSG4|Decoded STPV2 data.
RawQBT2_5|32|Raw QBT2 MSG5|Decoded STPV2 data.
)";

}  // namespace qbt2::test
