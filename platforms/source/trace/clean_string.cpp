#include "platforms/source/trace/clean_string.h"

#include "common/source/source_utilities/uString.h"

namespace EktTrace::ConfigFile {

void clean_string(std::string& text) {
  KZ_DVT::uString::StripLeading(KZ_DVT::uString::StripTrailing(text, " \t"), " \t");
}

}  // namespace EktTrace::ConfigFile
