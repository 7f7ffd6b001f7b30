// Loads a plug-in as its host would, runs the ten commands and checks the results. Reads the cards
// but does not change them.
// Usage: conformance_host PLUGIN
// Prints one line per check. Exit codes: 0 passed, 1 failed, 2 usage error.
#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "host/PluginInterface.h"

namespace {

enum Command : unsigned int {
  kInitialize = 1,
  kSetAdapterIds,
  kDeInitialize,
  kGetTopology,
  kGetProperties,
  kGetProperty,
  kSetProperty,
  kGetOperations,
  kCheckOperation,
  kExecuteOperation,
};

enum Result : unsigned int {
  kSuccess = 0,
  kNoSupportedHardware = 20001,
  kInvalidCommand = 20002,
  kInvalidProperty = 20004,
  kInvalidOperation = 20005,
  kInvalidObjectId = 20008,
};

enum ObjectType : unsigned int { kPlugin = 19006, kPhysicalDrive = 19018, kAdapter = 19038 };

constexpr unsigned int kInterfaceVersion = 2;
constexpr unsigned int kGetEvents = 50002;
constexpr unsigned int kName = 30007;
constexpr unsigned int kUnknown = 99999;
constexpr unsigned long kUnknownObject = 1;

bool g_HasFailed = false;

void Check(const std::string& what, bool passed, const std::string& details = {}) {
  std::printf("%s: %s%s\n", passed ? "ok" : "failed", what.c_str(),
              passed || details.empty() ? "" : (": " + details).c_str());
  g_HasFailed = g_HasFailed || !passed;
}

void CheckResult(const std::string& what, unsigned int expected, unsigned int found) {
  Check(what, expected == found,
        "expected " + std::to_string(expected) + ", found " + std::to_string(found));
}

// The plug-in's two functions.
using EntryPoint = unsigned int (*)(IPLUGINAPI**);

EntryPoint FindEntryPoint(void* library, const char* name) {
  const auto found = reinterpret_cast<EntryPoint>(dlsym(library, name));
  Check(std::string("the plug-in exports ") + name, found != nullptr);
  return found;
}

void IgnoreNotification(IPLUGINAPI*) {}

PI::CProperty MakeProperty(unsigned int id) {
  return PI::CProperty(static_cast<PI::_PROPERTY_ID>(id), false);
}

PI::COperation MakeOperation(unsigned int id) {
  PI::COperation operation;
  operation.m_OperationID = id;
  operation.m_NameID = id;
  return operation;
}

class Host {
 public:
  explicit Host(IPLUGINAPI& plugin) : m_Plugin(plugin) {}

  void CheckPlugin() {
    CheckResult("the interface version is 2", kInterfaceVersion, m_Plugin.m_InterfaceVersion);
    m_Plugin.m_HostNotify = &IgnoreNotification;
    CheckResult("an unknown command is rejected", kInvalidCommand, Execute(0, 0, nullptr));
    if (Start()) CheckObjects();
    CheckResult("the plug-in stops", kSuccess, Execute(kDeInitialize, 0, nullptr));
  }

 private:
  unsigned int Execute(unsigned int command, unsigned long object, void* payload) {
    return m_Plugin.Execute(static_cast<PI::_COMMAND>(command), object, payload);
  }

  // Returns whether there are cards.
  bool Start() {
    std::vector<PI::CAdapterID> adapters;
    const unsigned int result = Execute(kInitialize, 0, &adapters);
    if (result == kNoSupportedHardware) {
      std::printf("note: no card was found, so the other checks are skipped\n");
      return false;
    }
    CheckResult("the plug-in starts", kSuccess, result);
    Check("the plug-in reports its adapters", !adapters.empty());
    int number = 0;
    for (PI::CAdapterID& adapter : adapters) adapter.m_GlobalNumber = number++;
    CheckResult("the adapters can be numbered", kSuccess, Execute(kSetAdapterIds, 0, &adapters));
    m_AdapterCount = adapters.size();
    return result == kSuccess;
  }

  void CheckObjects() {
    CheckResult("the objects can be read", kSuccess, Execute(kGetTopology, 0, &m_Objects));
    CheckTree();
    for (const PI::CObject& object : m_Objects) CheckObject(object);
    CheckUnknownObject();
    CheckEvents();
  }

  std::size_t Count(unsigned int type) const {
    return static_cast<std::size_t>(
        std::count_if(m_Objects.begin(), m_Objects.end(),
                      [&](const PI::CObject& object) { return object.m_ObjectType == type; }));
  }

  // Returns 0 if no object has the id.
  unsigned int TypeOf(unsigned long id) const {
    for (const PI::CObject& object : m_Objects) {
      if (object.m_ID == id) return object.m_ObjectType;
    }
    return 0;
  }

  bool HasParent(const PI::CObject& object, unsigned int type) const {
    return object.m_Parents.size() == 1 && TypeOf(object.m_Parents.front()) == type;
  }

  void CheckTree() {
    std::set<unsigned long> ids;
    for (const PI::CObject& object : m_Objects) ids.insert(object.m_ID);
    Check("each object has a different id", ids.size() == m_Objects.size());
    Check("there is one plug-in object", Count(kPlugin) == 1);
    Check("there is one object per adapter", Count(kAdapter) == m_AdapterCount);
    for (const PI::CObject& object : m_Objects) {
      if (object.m_ObjectType == kAdapter) {
        Check("the parent of an adapter is the plug-in", HasParent(object, kPlugin));
      }
      if (object.m_ObjectType == kPhysicalDrive) {
        Check("the parent of a drive is an adapter", HasParent(object, kAdapter));
      }
    }
  }

  void CheckObject(const PI::CObject& object) {
    const std::string name = "object of type " + std::to_string(object.m_ObjectType);
    const unsigned long id = object.m_ID;
    std::vector<PI::CProperty> properties;
    CheckResult(name + ": the properties can be read", kSuccess,
                Execute(kGetProperties, id, &properties));
    Check(name + ": there are properties", !properties.empty());
    PI::CProperty property = MakeProperty(kName);
    CheckResult(name + ": the name can be read", kSuccess, Execute(kGetProperty, id, &property));
    CheckResult(name + ": the name is returned", kName, property.m_PropertyID);
    PI::CProperty unknown = MakeProperty(kUnknown);
    CheckResult(name + ": an unknown property is rejected", kInvalidProperty,
                Execute(kSetProperty, id, &unknown));
    std::vector<PI::COperation> operations;
    CheckResult(name + ": the operations can be read", kSuccess,
                Execute(kGetOperations, id, &operations));
    PI::COperation operation = MakeOperation(kUnknown);
    CheckResult(name + ": an operation can be checked", kSuccess,
                Execute(kCheckOperation, id, &operation));
    CheckResult(name + ": an unknown operation is rejected", kInvalidOperation,
                Execute(kExecuteOperation, id, &operation));
  }

  void CheckUnknownObject() {
    std::vector<PI::CProperty> properties;
    CheckResult("an unknown object is rejected", kInvalidObjectId,
                Execute(kGetProperties, kUnknownObject, &properties));
  }

  void CheckEvents() {
    for (const PI::CObject& object : m_Objects) {
      if (object.m_ObjectType != kPlugin) continue;
      PI::COperation operation = MakeOperation(kGetEvents);
      CheckResult("the events can be collected", kSuccess,
                  Execute(kExecuteOperation, object.m_ID, &operation));
    }
  }

  IPLUGINAPI& m_Plugin;
  std::size_t m_AdapterCount = 0;
  std::vector<PI::CObject> m_Objects;
};

void CheckLibrary(void* library) {
  const EntryPoint create = FindEntryPoint(library, "createIf");
  const EntryPoint release = FindEntryPoint(library, "releaseIf");
  if (create == nullptr || release == nullptr) return;
  IPLUGINAPI* plugin = nullptr;
  CheckResult("an instance can be created", kSuccess, create(&plugin));
  if (plugin == nullptr) return;
  Host(*plugin).CheckPlugin();
  release(&plugin);
  Check("the instance is released", plugin == nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "Usage: conformance_host PLUGIN\n");
    return 2;
  }
  void* const library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::fprintf(stderr, "conformance_host: %s\n", dlerror());
    return 1;
  }
  CheckLibrary(library);
  return g_HasFailed ? 1 : 0;
}
