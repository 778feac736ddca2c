#pragma once

#include <string>

#include "interfaces/qbt2_export.h"

namespace EktTrace::ConfigFile {

/// Removes blanks and tabs at both ends. Carriage returns stay: they are part of a value.
QBT2_API void clean_string(std::string& text);

}  // namespace EktTrace::ConfigFile
