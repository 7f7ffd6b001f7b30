#include "console/change/Progress.h"

#include <fmt/format.h>

#include <cstdio>
#include <utility>

#include "base/Printable.h"
#include "base/ThreadName.h"
#include "console/base/Duration.h"
#include "console/base/StopSignals.h"
#include "console/base/Terminal.h"

namespace Console {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLineInterval = std::chrono::seconds(5);
constexpr milliseconds kDrawInterval = std::chrono::seconds(1);

}  // namespace

Progress::Progress(Context& context, const std::string& doing, Json state)
    : m_Context(context),
      m_Doing(Base::Printable(doing)),
      m_State(std::move(state)),
      m_Rewrites(CanRewriteLine() && !context.m_Options.m_Quiet &&
                 context.m_OutputFormat != "jsonl"),
      m_NextLine(m_Rewrites ? kDrawInterval : kLineInterval) {
  if (m_Context.m_OutputFormat == "jsonl") {
    EmitLine();
  } else if (m_Rewrites) {
    Draw();
  } else if (!m_Context.m_Options.m_Quiet) {
    std::fputs((m_Doing + " ...\n").c_str(), stderr);
  }
}

Progress::~Progress() {
  if (!m_Rewrites) return;
  Draw();
  std::fputs("\n", stderr);
}

milliseconds Progress::Elapsed() const {
  return std::chrono::duration_cast<milliseconds>(steady_clock::now() - m_Start);
}

void Progress::Tick() {
  if (Elapsed() < m_NextLine) return;
  m_NextLine = Elapsed() + (m_Rewrites ? kDrawInterval : kLineInterval);
  if (m_Rewrites) Draw();
  if (m_Context.m_OutputFormat == "jsonl") EmitLine();
}

void Progress::Draw() {
  std::fputs(fmt::format("\r{} ... {} elapsed", m_Doing, ElapsedText(Elapsed())).c_str(), stderr);
}

void Progress::EmitLine() {
  Json progress = m_State;
  progress["elapsed_seconds"] = static_cast<double>(Elapsed().count()) / 1000;
  CommandResult result;
  result.m_Json = {{"progress", progress}};
  m_Context.Emit(result, false);
}

BackgroundTicks::BackgroundTicks(Progress& progress) {
  SetSecondSignalText("corvane-host: interrupted; the card continues formatting\n");
  m_Thread = std::thread([this, &progress] { Run(progress); });
}

BackgroundTicks::~BackgroundTicks() {
  SetSecondSignalText(nullptr);
  {
    const Base::MutexLock lock(m_Lock);
    m_IsEnded = true;
  }
  m_Ended.NotifyOne();
  m_Thread.join();
}

// Needs no lock for standard error: the thread that created this one joins it before it writes
// there.
void BackgroundTicks::Run(Progress& progress) {
  Base::NameThread("progress");
  constexpr milliseconds kCheckInterval{200};
  bool isReported = false;
  Base::MutexLock lock(m_Lock);
  for (;;) {
    const auto next = std::chrono::steady_clock::now() + kCheckInterval;
    while (!m_IsEnded && m_Ended.WaitUntil(lock, next)) continue;
    if (m_IsEnded) return;
    if (progress.Rewrites()) progress.Tick();
    if (isReported || !IsStopRequested()) continue;
    isReported = true;
    if (progress.Rewrites()) std::fputs("\n", stderr);
    std::fputs(
        "The format cannot be canceled; the program exits when the format completes.\n"
        "Press Ctrl-C again to exit; the card continues formatting.\n",
        stderr);
  }
}

}  // namespace Console
