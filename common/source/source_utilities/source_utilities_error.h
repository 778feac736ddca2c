#pragma once

#include <stdexcept>

#include "interfaces/qbt2_export.h"

namespace KZ_DVT {

/// The exception of the utilities: a message only.
class QBT2_API source_utilities_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace KZ_DVT
