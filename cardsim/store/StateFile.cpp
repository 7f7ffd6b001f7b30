#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "cardsim/cardsim.h"
#include "cardsim/store/FileStore.h"
#include "cardsim/store/FunctionNames.h"
#include "cardsim/store/Profiles.h"
#include "cardsim/store/StateText.h"
#include "cardsim/store/StatusBits.h"
#include "cardsim/store/Suggest.h"

namespace CardSim {
namespace {

// Returns an empty path in secure-execution mode, for example in a setuid program.
std::filesystem::path FromEnvironment(const char* name) {
  const char* value = secure_getenv(name);
  return value == nullptr ? "" : value;
}

// Returns an empty path for a relative one, which would depend on the working directory.
std::filesystem::path AbsoluteFromEnvironment(const char* name) {
  auto path = FromEnvironment(name);
  return path.is_absolute() ? path : std::filesystem::path();
}

std::filesystem::path HomeDirectory() {
  const auto home = AbsoluteFromEnvironment("HOME");
  if (!home.empty()) return home;
  char buffer[4096];
  passwd entry = {};
  passwd* found = nullptr;
  const int failed = getpwuid_r(geteuid(), &entry, buffer, sizeof buffer, &found);
  return failed == 0 && found != nullptr ? found->pw_dir : "/";
}

// Returns the position of the card with that name.
std::size_t Find(const State& state, const std::string& name) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < state.cards.size(); ++i) {
    if (state.cards[i].name == name) return i;
    names.push_back(state.cards[i].name);
  }
  throw UnknownName("no card named " + name + DidYouMean(name, names));
}

template <typename Change>
void EditCard(const std::filesystem::path& path, const std::string& name, Change change) {
  FileStore(path).Edit([&](State& state) {
    change(state.cards[Find(state, name)]);
    return true;
  });
}

// Adds `count` cards and returns their names.
std::vector<std::string> AddAll(const std::filesystem::path& path, const Profile& profile,
                                unsigned int count) {
  std::vector<std::string> names;
  FileStore(path).Edit([&](State& state) {
    for (unsigned int i = 0; i < count; ++i) names.push_back(AddCard(state, profile).name);
    return count > 0;
  });
  return names;
}

void ChangeBit(Card& card, const std::string& name, bool raised) {
  const MaskBit found = FindMaskBit(name);
  const auto mask = Read<std::uint64_t>(card.values, found.mask, 0);
  if (!raised && !At(card.values, found.mask)) return;
  At(card.values, found.mask) = raised ? mask | found.bit : mask & ~found.bit;
}

}  // namespace

std::filesystem::path StateFile::DefaultPath() {
  auto path = FromEnvironment("CARDSIM_STATE");
  if (!path.empty()) return path;
  path = AbsoluteFromEnvironment("XDG_STATE_HOME");
  if (path.empty()) path = HomeDirectory() / ".local" / "state";
  return path / "corvane" / "cards.json";
}

StateFile::StateFile(std::filesystem::path path) : m_Path(std::move(path)) {}

void StateFile::Create(bool overwrite) {
  FileStore(m_Path).Create(overwrite);
}

std::string StateFile::AddCard(std::uint16_t deviceId) {
  return AddAll(m_Path, ProfileForDevice(deviceId), 1).front();
}

std::string StateFile::AddCard(const std::string& kind) {
  return AddAll(m_Path, FindProfile(kind), 1).front();
}

std::vector<std::string> StateFile::AddCards(const std::string& kind, unsigned int count) {
  return AddAll(m_Path, FindProfile(kind), count);
}

std::vector<std::string> StateFile::Profiles() {
  return ProfileNames();
}

void StateFile::RemoveCard(const std::string& card) {
  FileStore(m_Path).Edit([&](State& state) {
    state.cards.erase(state.cards.begin() + static_cast<std::ptrdiff_t>(Find(state, card)));
    return true;
  });
}

std::vector<std::string> StateFile::Cards() const {
  const auto loaded = FileStore(m_Path).Load();
  std::vector<std::string> names;
  for (const Card& card : loaded->state->cards) names.push_back(card.name);
  return names;
}

void StateFile::Set(const std::string& card, const std::string& attribute,
                    const std::string& value) {
  EditCard(m_Path, card, [&](Card& found) { SetFromText(found, attribute, value); });
}

std::string StateFile::Get(const std::string& card, const std::string& attribute) const {
  const auto loaded = FileStore(m_Path).Load();
  return GetAsText(loaded->state->cards[Find(*loaded->state, card)], attribute);
}

std::vector<std::pair<std::string, std::string>> StateFile::GetAll(const std::string& card) const {
  const auto loaded = FileStore(m_Path).Load();
  const Card& found = loaded->state->cards[Find(*loaded->state, card)];
  std::vector<std::pair<std::string, std::string>> all;
  for (const std::string& name : AttributeNames()) all.emplace_back(name, GetAsText(found, name));
  return all;
}

void StateFile::MakeAbsent(const std::string& card, const std::string& attribute) {
  EditCard(m_Path, card, [&](Card& found) { RemoveValue(found, attribute); });
}

void StateFile::Raise(const std::string& card, const std::string& bit) {
  EditCard(m_Path, card, [&](Card& found) { ChangeBit(found, bit, true); });
}

void StateFile::Clear(const std::string& card, const std::string& bit) {
  EditCard(m_Path, card, [&](Card& found) { ChangeBit(found, bit, false); });
}

namespace {

void CheckCode(std::uint64_t code) {
  if (code == 0) throw std::runtime_error("the code must not be 0, which means success");
}

}  // namespace

void StateFile::Fail(const std::string& function, std::uint64_t code, const std::string& text) {
  CheckFunction(function);
  CheckCode(code);
  FileStore(m_Path).Edit([&](State& state) {
    state.failures[function] = {code, text};
    return true;
  });
}

void StateFile::Fail(const std::string& function, const std::string& card, std::uint64_t code,
                     const std::string& text) {
  CheckCardFunction(function);
  CheckCode(code);
  EditCard(m_Path, card, [&](Card& found) { found.failures[function] = {code, text}; });
}

void StateFile::Hang(const std::string& function, const std::string& card,
                     std::uint64_t milliseconds) {
  CheckCardFunction(function);
  if (milliseconds > kMaxHangMs) throw std::runtime_error("a call hangs for at most one day");
  EditCard(m_Path, card, [&](Card& found) { found.hangs[function] = milliseconds; });
}

void StateFile::ClearFailure(const std::string& function) {
  CheckFunction(function);
  FileStore(m_Path).Edit([&](State& state) { return state.failures.erase(function) != 0; });
}

void StateFile::ClearFailure(const std::string& function, const std::string& card) {
  CheckCardFunction(function);
  EditCard(m_Path, card, [&](Card& found) {
    found.failures.erase(function);
    found.hangs.erase(function);
  });
}

}  // namespace CardSim
