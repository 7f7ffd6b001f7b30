// Commands that apply to several objects.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "console/model/Model.h"
#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"

namespace Console {

// The objects of a command, in the order in which they were named, each once.
struct ObjectSelection {
  std::vector<const Object*> m_Objects;
  bool m_IsSeveral = false;  // whether several objects, or all of them, were named
};

// Returns the objects that `names` name; "all" names all objects of the kind. `select` finds one
// object and throws `Failure` if it is not found, so that nothing is done if one name is wrong.
using ObjectSelector = std::function<const Object&(const std::string&)>;
ObjectSelection SelectSeveral(const Model& model, const std::vector<std::string>& names, Kind kind,
                              const ObjectSelector& select);

// Runs `run` for each name and combines the results. With `isSeveral`, the result is a list with
// one entry per object: a failure is reported and becomes the entry of its object, and the others
// continue. The exit code is then that of the failures if all have failed with the same code, and
// `PartlyFailed` if some have succeeded. Otherwise, throws what `run` throws.
CommandResult RunForEach(Context& context, const std::vector<std::string>& names, bool isSeveral,
                         const std::function<CommandResult(std::size_t)>& run);

// Like the function above, for the objects of a selection.
CommandResult RunForEach(Context& context, const ObjectSelection& selection,
                         const std::function<CommandResult(const Object&)>& run);

}  // namespace Console
