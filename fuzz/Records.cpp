// Records of the plug-in interface as JSON, and the frames that carry them.
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "base/Descriptor.h"
#include "console/plugin/RecordJson.h"
#include "fuzz/Require.h"
#include "fuzz/Targets.h"
#include "service/Frame.h"

namespace CorvaneFuzz {
namespace {

using Json = nlohmann::json;

// A record that `read` accepts must survive a round trip through JSON.
template <class Read>
void CheckRoundTrip(const Json& json, Read read, const char* name) {
  Json first;
  try {
    first = Console::ToJson(read(json));
  } catch (const Console::RecordError& error) {
    Require(error.what()[0] != '\0', "the error message is empty");
    return;
  }
  Require(Json::parse(first.dump()) == first, std::string("not valid JSON: ") + name);
  const Json second = Console::ToJson(read(first));
  Require(first == second, std::string("does not survive a round trip: ") + name);
}

struct SocketPair {
  SocketPair() {
    std::array<int, 2> ends = {};
    Require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0,
            "cannot create a socket pair");
    m_Reader = Base::Descriptor(ends[0]);
    m_Writer = Base::Descriptor(ends[1]);
  }
  Base::Descriptor m_Reader;
  Base::Descriptor m_Writer;
};

// Returns the documents in `bytes`, up to the first invalid frame.
std::vector<Json> ReadFrames(const std::string& bytes) {
  SocketPair sockets;
  const ssize_t sent = send(sockets.m_Writer.Get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
  Require(sent == static_cast<ssize_t>(bytes.size()) || bytes.size() > 65536,
          "not all bytes were sent");
  sockets.m_Writer.Close();
  std::vector<Json> documents;
  try {
    while (auto document = Service::ReadFrame(sockets.m_Reader.Get())) {
      documents.push_back(std::move(*document));
    }
  } catch (const Service::FrameError&) {
  }
  return documents;
}

}  // namespace

// Input: a JSON document, parsed as each type of record.
void Records(const std::string& input) {
  const Json json = Json::parse(input, nullptr, false);
  if (json.is_discarded()) return;
  CheckRoundTrip(json, Console::CommandFromJson, "command");
  CheckRoundTrip(json, Console::PluginInfoFromJson, "plug-in");
  CheckRoundTrip(json, Console::LoggedEventFromJson, "logged event");
  CheckRoundTrip(json, Console::EventCountFromJson, "event count");
  for (const PI::_COMMAND command :
       {PI::CMD_GET_TOPOLOGY, PI::CMD_GET_PROPERTIES, PI::CMD_GET_PROPERTY, PI::CMD_GET_OPERATIONS,
        PI::CMD_EXECUTE_OPERATION}) {
    const auto read = [command](const Json& reply) {
      return Console::ReplyFromJson(command, reply);
    };
    CheckRoundTrip(json, read, "reply");
  }
}

// Input: bytes from the other process. Each document in them must survive being sent and read.
void Frames(const std::string& input) {
  for (const Json& document : ReadFrames(input)) {
    SocketPair sockets;
    const std::string frame = Service::EncodeFrame(document);
    Require(Service::WriteFrame(sockets.m_Writer.Get(), frame), "cannot write a frame");
    sockets.m_Writer.Close();
    const auto again = Service::ReadFrame(sockets.m_Reader.Get());
    Require(again && *again == document, "the frame does not survive a round trip");
  }
}

}  // namespace CorvaneFuzz
