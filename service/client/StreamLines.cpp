#include "service/client/StreamLines.h"

#include <utility>

namespace Service {

bool StreamLines::Append(std::string_view text) {
  for (auto end = text.find('\n'); end != text.npos; end = text.find('\n')) {
    if (end > kMaxLine - m_Line.size()) return false;
    m_Line.append(text.substr(0, end));
    if (m_Line.compare(0, 6, "event:") == 0) m_HasChange = true;
    m_Line.clear();
    text.remove_prefix(end + 1);
  }
  if (text.size() > kMaxLine - m_Line.size()) return false;
  m_Line.append(text);
  return true;
}

bool StreamLines::TakeChange() {
  return std::exchange(m_HasChange, false);
}

}  // namespace Service
