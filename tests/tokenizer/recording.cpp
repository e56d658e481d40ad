#include "recording.h"

#include <cstdio>

namespace Parsers::Testing {

namespace {

std::string hexUnit(char16_t unit)
{
    char text[8];
    std::snprintf(text, sizeof text, "\\u%04X", static_cast<unsigned>(unit));
    return text;
}

std::string withCode(ParseErrorCode code)
{
    return concat({"E", std::to_string(static_cast<std::uint32_t>(code))});
}

}  // namespace

std::string concat(std::initializer_list<std::string_view> parts)
{
    std::string joined;
    for (std::string_view part : parts) joined.append(part);
    return joined;
}

std::string describeUnit(char16_t unit)
{
    if (unit >= 0x20 && unit < 0x7F) return std::string(1, static_cast<char>(unit));
    return hexUnit(unit);
}

std::string describeText(std::u16string_view text)
{
    std::string result;
    for (char16_t unit : text) {
        if (unit == u'"' || unit == u'\\') result.push_back('\\');
        result += describeUnit(unit);
    }
    return result;
}

std::string describePosition(const TextPosition& position)
{
    return concat({"@", std::to_string(position.column), ":", std::to_string(position.line)});
}

std::string describeToken(const Token& token)
{
    switch (token.type) {
    case TokenType::EndOfFile:
        return "EOF";
    case TokenType::StartTag:
    case TokenType::EndTag: {
        const auto& tag = static_cast<const TagToken&>(token);
        std::string text = token.type == TokenType::StartTag ? "<" : "</";
        if (!tag.prefix.empty()) text += describeText(tag.prefix) + ":";
        text += describeText(tag.name);
        for (const auto& [key, attribute] : tag.attributes) {
            text += " ";
            // The key and the attribute's own prefix and name must agree.
            if (!attribute->prefix.empty()) text += describeText(attribute->prefix) + ":";
            text += describeText(attribute->name);
            if (attribute->getQualifiedName() != key) {
                text += concat({"[key ", describeText(key), "]"});
            }
            text += concat({"=\"", describeText(attribute->value.str()), "\""});
        }
        if (tag.selfClosing) text += "/";
        return text + ">";
    }
    case TokenType::Doctype: {
        const auto& doctype = static_cast<const DoctypeToken&>(token);
        std::string text = concat({"<!DOCTYPE ", describeText(doctype.name)});
        if (!doctype.publicId.empty()) {
            text += concat({" public=\"", describeText(doctype.publicId), "\""});
        }
        if (!doctype.systemId.empty()) {
            text += concat({" system=\"", describeText(doctype.systemId), "\""});
        }
        if (doctype.forceQuirks) text += " quirks";
        return text + ">";
    }
    case TokenType::Comment:
        return concat({"<!--", describeText(static_cast<const CommentToken&>(token).data), "-->"});
    }
    return "?";
}

void Recorder::processCharacter(char16_t unit, const TextPosition* position)
{
    events.push_back({Event::Kind::Character, std::string(), *position, unit});
}

void Recorder::processToken(TokenRef token)
{
    events.push_back({Event::Kind::Token, describeToken(*token), token->position});
    tokens.push_back(token);
    if (onToken) onToken(token);
}

void Recorder::reportCharacterError(ParseErrorCode code, char16_t unit,
                                    const TextPosition* position)
{
    events.push_back(
        {Event::Kind::Error, concat({withCode(code), " char '", describeUnit(unit), "'"}), *position});
}

void Recorder::reportTextError(ParseErrorCode code, const UString& text,
                               const TextPosition* position)
{
    events.push_back(
        {Event::Kind::Error, concat({withCode(code), " text \"", describeText(text), "\""}), *position});
}

void Recorder::reportPositionError(ParseErrorCode code, const TextPosition* position)
{
    events.push_back({Event::Kind::Error, withCode(code), *position});
}

void Recorder::reportSpanError(ParseErrorCode code, const char16_t* units, std::uint32_t count,
                               const TextPosition* position)
{
    events.push_back({Event::Kind::Error,
                      concat({withCode(code), " span \"",
                              describeText(std::u16string_view(units, count)), "\""}),
                      *position});
}

Events Recorder::full() const
{
    Events result;
    for (const Event& event : events) {
        std::string text = event.kind == Event::Kind::Character
                               ? concat({"'", describeUnit(event.unit), "'"})
                               : event.text;
        result.push_back(concat({text, " ", describePosition(event.position)}));
    }
    return result;
}

Events Recorder::compact() const
{
    Events result;
    std::u16string run;
    auto flush = [&] {
        if (run.empty()) return;
        result.push_back(concat({"\"", describeText(run), "\""}));
        run.clear();
    };
    for (const Event& event : events) {
        if (event.kind == Event::Kind::Character) {
            run.push_back(event.unit);
            continue;
        }
        flush();
        result.push_back(event.text);
    }
    flush();
    return result;
}

Events Recorder::errors() const
{
    Events result;
    for (const Event& event : events) {
        if (event.kind == Event::Kind::Error) {
            result.push_back(concat({event.text, " ", describePosition(event.position)}));
        }
    }
    return result;
}

}  // namespace Parsers::Testing
