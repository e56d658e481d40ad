// Test support for the tokenizer suites: a receiver and an error listener that
// log everything they get into one list of events, in the order it happens.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "library/source_buffer.h"
#include "tokenizer/parse_errors.h"
#include "tokenizer/token.h"

namespace Parsers::Testing {

using Events = std::vector<std::string>;

// The parts joined into one string. Built by appending: GCC 12 warns falsely
// (-Wrestrict) about a literal added in front of a temporary string.
std::string concat(std::initializer_list<std::string_view> parts);

// A unit as it appears in the logs: printable ASCII as itself, anything else as
// \uXXXX.
std::string describeUnit(char16_t unit);
std::string describeText(std::u16string_view text);
std::string describePosition(const TextPosition& position);
// A token as the logs show it, without its position: <p:name a="1" x:b="2"/>,
// </name>, <!--data-->, <!DOCTYPE name public="p" system="s" quirks>, EOF.
std::string describeToken(const Token& token);

// One event: what happened and where. Characters keep their unit so that the
// compact view can merge them into runs.
struct Event {
    enum class Kind { Character, Token, Error } kind;
    std::string text;  // the token or the report, without position
    TextPosition position;
    char16_t unit = 0;  // the character's unit
};

// Receiver and listener in one, so that reports and emissions share one order.
class Recorder : public TokenReceiver, public ErrorListener {
public:
    void processCharacter(char16_t unit, const TextPosition* position) override;
    void processToken(TokenRef token) override;

    void reportCharacterError(ParseErrorCode code, char16_t unit,
                              const TextPosition* position) override;
    void reportTextError(ParseErrorCode code, const UString& text,
                         const TextPosition* position) override;
    void reportPositionError(ParseErrorCode code, const TextPosition* position) override;
    // Copies all `count` units: the texts of the tests are padded for this.
    void reportSpanError(ParseErrorCode code, const char16_t* units, std::uint32_t count,
                         const TextPosition* position) override;

    // Every event with its position: 'a' @1:1, <p> @1:1, E11 @2:1.
    Events full() const;
    // Characters merged into runs ("abc"), positions left out.
    Events compact() const;
    // Only the reports, with positions.
    Events errors() const;

    std::vector<Event> events;
    std::vector<TokenRef> tokens;
    // Called for each token after it is logged, inside the emission, as the tree
    // constructor would be.
    std::function<void(const TokenRef&)> onToken;
};

}  // namespace Parsers::Testing
