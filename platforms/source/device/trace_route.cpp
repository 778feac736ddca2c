#include "platforms/source/device/trace_route.h"

namespace EktTrace {

std::string TraceRoute_t::GetText() const {
  std::string text;
  for (const Component_t* component : components_) text += component->GetName() + " -> ";
  return text + receiver_->GetName();
}

}  // namespace EktTrace
