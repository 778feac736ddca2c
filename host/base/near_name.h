#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The suggestion for a mistyped name: of a column, a command, an option, a master. Pure functions,
/// any thread.
namespace qbt2 {

/// The one of `names` that is nearest to `name`, letter case ignored: the fewest characters to
/// insert, delete, replace or swap with their neighbour. Empty where none is near, that is where
/// more than a third of the characters (but at least one) would change. Of equally near names the
/// first. The view is one of `names`.
std::string_view near_name(std::string_view name, const std::vector<std::string_view>& names);

/// near_name() as the end of a message: "; the nearest is 'NAME'", or empty.
std::string nearest_hint(std::string_view name, const std::vector<std::string_view>& names);

}  // namespace qbt2
