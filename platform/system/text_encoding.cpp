#include "platform/system/text_encoding.h"

#include <langinfo.h>
#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale is POSIX's

#include <string_view>

namespace sys {

TextEncoding environmentEncoding() {
  static const TextEncoding encoding = [] {
    const locale_t locale = newlocale(LC_CTYPE_MASK, "", locale_t{});
    if (locale == locale_t{}) return TextEncoding::Ascii;
    const bool isUtf8 = std::string_view(nl_langinfo_l(CODESET, locale)) == "UTF-8";
    freelocale(locale);
    return isUtf8 ? TextEncoding::Utf8 : TextEncoding::Ascii;
  }();
  return encoding;
}

}  // namespace sys
