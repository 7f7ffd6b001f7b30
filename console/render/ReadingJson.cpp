#include "console/render/ReadingJson.h"

namespace Console {

Json ReadingJson(const Reading& reading) {
  if (reading.m_Field == nullptr) return nullptr;
  Json json = {{"name", reading.m_Field->m_Name}};
  PutValue(json, "value", reading.m_Value);
  return json;
}

}  // namespace Console
