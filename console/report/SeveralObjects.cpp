#include "console/report/SeveralObjects.h"

#include <algorithm>
#include <iterator>

#include "console/base/Failure.h"
#include "console/model/Selectors.h"

namespace Console {
namespace {

// The result of a command for several objects, and the exit codes of the failures.
struct Combined {
  CommandResult m_Result;
  std::vector<ExitCode> m_Failures;
  std::size_t m_Successes = 0;
};

template <class Item>
void Append(std::vector<Item>& to, std::vector<Item>& from) {
  std::move(from.begin(), from.end(), std::back_inserter(to));
}

void Add(Combined& combined, CommandResult one) {
  CommandResult& all = combined.m_Result;
  all.m_Json["results"].push_back(std::move(one.m_Json));
  if (all.m_Table.m_Columns.empty()) all.m_Table.m_Columns = one.m_Table.m_Columns;
  Append(all.m_Table.m_Rows, one.m_Table.m_Rows);
  Append(all.m_Values, one.m_Values);
  if (one.m_Text) all.m_Text = all.m_Text.value_or("") + *one.m_Text;
  if (one.m_Changed) all.m_Changed = all.m_Changed.value_or(false) || *one.m_Changed;
  if (one.m_Code == ExitCode::Done) {
    ++combined.m_Successes;
  } else {
    combined.m_Failures.push_back(one.m_Code);
  }
}

// Other objects may have been changed.
std::vector<std::string> AdviceForOne(const std::string& name, const Failure& failure) {
  std::vector<std::string> advice = failure.m_Advice;
  for (std::string& line : advice) {
    if (line == "Nothing was changed.") line = name + " was not changed.";
  }
  return advice;
}

void AddFailure(Combined& combined, Context& context, const std::string& name,
                const Failure& failure) {
  context.m_Diagnostics.Error(failure.m_Id, failure.m_Text, AdviceForOne(name, failure));
  combined.m_Result.m_Json["results"].push_back(
      {{"object", name},
       {"exit_code", static_cast<int>(failure.m_Code)},
       {"message", MessageJson(context.m_Diagnostics.Messages().back())}});
  combined.m_Failures.push_back(failure.m_Code);
}

ExitCode CodeOf(const Combined& combined) {
  const std::vector<ExitCode>& failures = combined.m_Failures;
  if (failures.empty()) return ExitCode::Done;
  if (combined.m_Successes > 0) return ExitCode::PartlyFailed;
  const bool isSame = std::count(failures.begin(), failures.end(), failures.front()) ==
                      static_cast<std::ptrdiff_t>(failures.size());
  return isSame ? failures.front() : ExitCode::Failed;
}

void AddUnique(std::vector<const Object*>& objects, const Object& object) {
  if (std::find(objects.begin(), objects.end(), &object) == objects.end()) {
    objects.push_back(&object);
  }
}

bool IsNew(const std::vector<NamedObject>& named, const Object& object) {
  return std::none_of(named.begin(), named.end(),
                      [&](const NamedObject& each) { return each.m_pObject == &object; });
}

void AddNamed(std::vector<NamedObject>& named, const Model& model, const std::string& name) {
  try {
    const Object& object = Select(model, name);
    if (IsNew(named, object)) named.push_back({object.m_Selector, &object, std::nullopt});
  } catch (const Failure& failure) {
    named.push_back({name, nullptr, failure});
  }
}

}  // namespace

std::vector<NamedObject> FindSeveral(const Model& model, const std::vector<std::string>& names) {
  std::vector<NamedObject> named;
  for (const std::string& name : names) {
    if (name != kAllObjects) {
      AddNamed(named, model, name);
      continue;
    }
    for (const Object& object : model.Objects()) {
      const bool isAdded = object.m_Kind == Kind::Adapter && IsNew(named, object);
      if (isAdded) named.push_back({object.m_Selector, &object, std::nullopt});
    }
  }
  return named;
}

std::vector<const Object*> ReportNotFound(Context& context, const std::vector<NamedObject>& named) {
  std::vector<const Object*> objects;
  for (const NamedObject& each : named) {
    if (each.m_pObject != nullptr) objects.push_back(each.m_pObject);
  }
  for (const NamedObject& each : named) {
    if (!each.m_NotFound) continue;
    const Failure& failure = *each.m_NotFound;
    if (objects.empty() && &each == &named.back()) throw Failure(failure);
    context.m_Diagnostics.Error(failure.m_Id, failure.m_Text, failure.m_Advice);
  }
  return objects;
}

ObjectSelection SelectSeveral(const Model& model, const std::vector<std::string>& names, Kind kind,
                              const ObjectSelector& select) {
  ObjectSelection selection;
  selection.m_IsSeveral = names.size() > 1;
  for (const std::string& name : names) {
    if (name != kAllObjects) {
      AddUnique(selection.m_Objects, select(name));
      continue;
    }
    selection.m_IsSeveral = true;
    for (const Object& object : model.Objects()) {
      if (object.m_Kind == kind) AddUnique(selection.m_Objects, object);
    }
  }
  return selection;
}

CommandResult RunForEach(Context& context, const std::vector<std::string>& names, bool isSeveral,
                         const std::function<CommandResult(std::size_t)>& run) {
  if (!isSeveral) return run(0);
  Combined combined;
  combined.m_Result.m_Json = {{"results", Json::array()}};
  combined.m_Result.m_Items = "results";
  for (std::size_t i = 0; i < names.size(); ++i) {
    try {
      Add(combined, run(i));
    } catch (const Failure& failure) {
      if (failure.m_Code == ExitCode::Stopped || failure.m_Code == ExitCode::Usage) throw;
      AddFailure(combined, context, names[i], failure);
    }
  }
  combined.m_Result.m_Code = CodeOf(combined);
  return std::move(combined.m_Result);
}

CommandResult RunForEach(Context& context, const ObjectSelection& selection,
                         const std::function<CommandResult(const Object&)>& run) {
  std::vector<std::string> names;
  for (const Object* object : selection.m_Objects) names.push_back(object->m_Selector);
  return RunForEach(context, names, selection.m_IsSeveral,
                    [&](std::size_t i) { return run(*selection.m_Objects[i]); });
}

}  // namespace Console
