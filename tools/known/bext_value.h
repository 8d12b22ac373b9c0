// The values of the fields of a "bext" chunk as texts.
#ifndef VELMOR_CORE_TOOLS_KNOWN_BEXT_VALUE_H
#define VELMOR_CORE_TOOLS_KNOWN_BEXT_VALUE_H

#include <string>
#include <string_view>

#include "chunks/layout.h"
#include "known/bext.h"

namespace tool {

// The field with a name, or null.
const BextField* findBextField(std::string_view name);

// The number in the bytes of a field.
uint64_t bextNumber(std::string_view bytes, ByteOrder order = ByteOrder::LITTLE);

// A level that is stored in hundredths, such as -23.45; empty if it is not set.
std::string levelText(int16_t level);

// The hexadecimal digits of a UMID: 64 if it is a basic one, 128 if not, none if all bytes are 0.
std::string umidText(std::string_view bytes);

// The value of a field; empty if the field is not set. Texts keep their encoding.
std::string bextText(const BextField& field, std::string_view bytes, ByteOrder order);

// Converts a text to the bytes of a whole field. An empty text gives the bytes of a field that is
// not set. Texts keep their encoding. Lines of the coding history end in CR LF. Throws UsageError
// if the text is no value of this field.
std::string bextBytes(const BextField& field, std::string_view text);

}  // namespace tool

#endif
