// Whatever a program puts on the clipboard comes out as valid UTF-8; a text that is valid comes through as it is, and
// an address is one line of what came.
#include "fuzz/Fuzz.h"

#include "core/text/Text.h"
#include "platform/linux/clipboard/SelectionText.h"

#include <unicode/unistr.h>

void velmora::fuzz::run(std::string_view input) {
    using namespace selectionText;
    for (const auto encoding :
         {Encoding::utf8, Encoding::unnamed, Encoding::latin1, Encoding::addressList, Encoding::mozillaLink}) {
        const auto text = decoded(input, encoding);
        if (!text) continue;
        check(text::validUtf8(*text) == *text);
        if (encoding != Encoding::addressList && encoding != Encoding::mozillaLink) {
            check(!text->ends_with('\0') && fromUtf8(*text) == *text && fromUnknown(*text) == *text);
            continue;
        }
        check(!text->empty() && text::trimmed(*text) == *text && text->find_first_of("\r\n") == std::string::npos);
        if (encoding == Encoding::addressList) {
            check(!text->starts_with('#') && firstOfList("#\r\n \n" + *text + "\r\nx") == text);
        } else {
            const auto units = icu::UnicodeString::fromUTF8(*text + "\nA title");
            const std::string_view bytes(reinterpret_cast<const char*>(units.getBuffer()),
                                         static_cast<std::size_t>(units.length()) * 2);
            check(firstOfMozillaLink(bytes) == text);
        }
    }
    const auto latin1 = fromLatin1(input);
    check(icu::UnicodeString::fromUTF8(latin1).length() == static_cast<std::int32_t>(input.find_last_not_of('\0') + 1));
}
