#include "tools/qbt2/commands/master_names.h"

#include <utility>

namespace qbt2::tool {

MasterNames::MasterNames(DecoderSetup& setup) : has_settings_(true), source_id_(setup.atb_id()) {
  for (NamedMaster& master : setup.masters()) {
    of_probe_.try_emplace(master.probe(), master.name);
    of_master_.try_emplace(master.id, std::move(master.name));
  }
}

}  // namespace qbt2::tool
