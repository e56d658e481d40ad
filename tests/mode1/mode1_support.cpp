#include "mode1_support.h"

#include "domparse_reader.h"
#include "library/dom_parse.h"
#include "support/image_tree_text.h"

namespace Mode1 {

using Parsers::ParseErrorCode;
using Parsers::TextPosition;

void RecordingListener::reportCharacterError(ParseErrorCode code, char16_t, const TextPosition*)
{
    codes.push_back(static_cast<std::uint32_t>(code));
}

void RecordingListener::reportTextError(ParseErrorCode code, const Parsers::UString&,
                                        const TextPosition*)
{
    codes.push_back(static_cast<std::uint32_t>(code));
}

void RecordingListener::reportPositionError(ParseErrorCode code, const TextPosition*)
{
    codes.push_back(static_cast<std::uint32_t>(code));
}

void RecordingListener::reportSpanError(ParseErrorCode code, const char16_t*, std::uint32_t,
                                        const TextPosition*)
{
    codes.push_back(static_cast<std::uint32_t>(code));
}

std::vector<std::uint32_t> RecordingListener::treeCodes() const
{
    // 107 is the first code of the tree constructor's part of the catalogue.
    std::vector<std::uint32_t> tree;
    for (std::uint32_t code : codes) {
        if (code >= 107) tree.push_back(code);
    }
    return tree;
}

Outcome parse(const std::vector<std::uint8_t>& input, std::uint32_t inputKind,
              std::uint16_t recordVersion)
{
    std::vector<std::uint8_t> buffer(input);
    buffer.resize(input.size() + DOM_INPUT_PADDING, 0);
    DOM_ParseRecord record{};
    record.version = recordVersion;
    record.inputKind = inputKind;
    record.result = 0;
    HGLOBAL handle = nullptr;
    auto listener = std::make_shared<RecordingListener>();

    Outcome outcome;
    outcome.result = Parsers::parseToImageCaseFolding(
        buffer.data(), static_cast<std::uint32_t>(input.size()), &handle, &record, listener);
    outcome.treeCodes = listener->treeCodes();
    if (outcome.result != DOM_RESULT_OK) return outcome;

    const void* bytes = GlobalLock(handle);
    DOMImage* image = nullptr;
    char message[256];
    if (DOMImage_Open(bytes, record.result, &image, message, sizeof message) != 0) {
        outcome.tree = std::string("!! image refused: ") + message;
    } else {
        outcome.tree = ImageTreeText::treeText(image);
        DOMImage_Close(image);
    }
    GlobalUnlock(handle);
    GlobalFree(handle);
    return outcome;
}

Outcome parse(const std::string& text)
{
    return parse(std::vector<std::uint8_t>(text.begin(), text.end()));
}

MarkupOutcome parseToMarkup(const std::vector<std::uint8_t>& input, std::uint32_t inputKind,
                            std::uint32_t parseMode)
{
    std::vector<std::uint8_t> buffer(input);
    buffer.resize(input.size() + DOM_INPUT_PADDING, 0);
    DOM_ParseRecord record{};
    record.version = 2;
    record.inputKind = inputKind;
    Parsers::UString markup;
    MarkupOutcome outcome;
    outcome.result = Parsers::parseToMarkup(buffer.data(), static_cast<std::uint32_t>(input.size()),
                                            &record, parseMode, markup);
    outcome.markup = utf8Of(markup);
    return outcome;
}

std::string utf8Of(const std::u16string& units)
{
    std::string out;
    auto put = [&out](std::uint32_t codePoint) {
        if (codePoint < 0x80) {
            out += static_cast<char>(codePoint);
        } else if (codePoint < 0x800) {
            out += static_cast<char>(0xC0 | (codePoint >> 6));
            out += static_cast<char>(0x80 | (codePoint & 0x3F));
        } else if (codePoint < 0x10000) {
            out += static_cast<char>(0xE0 | (codePoint >> 12));
            out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (codePoint & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (codePoint >> 18));
            out += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (codePoint & 0x3F));
        }
    };
    for (std::size_t i = 0; i < units.size(); ++i) {
        const std::uint32_t unit = units[i];
        const bool high = unit >= 0xD800 && unit <= 0xDBFF;
        if (high && i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
            put(0x10000 + ((unit - 0xD800) << 10) + (units[i + 1] - 0xDC00));
            ++i;
        } else {
            put(unit);
        }
    }
    return out;
}

std::string codeList(const std::vector<std::uint32_t>& codes)
{
    std::string out;
    for (std::uint32_t code : codes) {
        if (!out.empty()) out += ' ';
        out += std::to_string(code);
    }
    return out;
}

}  // namespace Mode1
