#include "common/source/source_utilities/uMutex.h"

namespace KZ_DVT {

void uMutex::Lock() {
  mutex_.lock();
}

void uMutex::Unlock() {
  mutex_.unlock();
}

}  // namespace KZ_DVT
