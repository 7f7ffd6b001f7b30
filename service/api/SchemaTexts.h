// The built-in schemas as JSON text.
#pragma once

namespace Service {

extern const char* const kApiSchemas;      // parameters and schemas by name
extern const char* const kDocumentSchema;  // of the console's JSON documents

}  // namespace Service
