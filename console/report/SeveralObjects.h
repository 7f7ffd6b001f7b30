// Commands that apply to several objects.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "console/base/Failure.h"
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

// What a name on the command line refers to: an object, or the reason why there is none.
struct NamedObject {
  std::string m_Name;
  const Object* m_pObject = nullptr;
  std::optional<Failure> m_NotFound;  // set if there is no object
};

// Finds the objects of a command that only reads, which continues without those that are not found.
// Returns them in the order in which they were named, each object once; "all" names all adapters.
std::vector<NamedObject> FindSeveral(const Model& model, const std::vector<std::string>& names);

// Returns the objects that were found, and reports the other names as errors. Throws `Failure` if
// none was found.
std::vector<const Object*> ReportNotFound(Context& context, const std::vector<NamedObject>& named);

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
