#pragma once

#include <array>
#include <chrono>

/// The second column of a debug log record. Internal to common/source/logging; any thread, no
/// allocation.

/// "HH:MM:SS.USEC" with its terminator. Hours are not wrapped at 24 and may grow past two digits.
std::array<char, 32> elapsed_text(std::chrono::nanoseconds elapsed);
