#include "tokenizer/parse_errors.h"

#include <utility>

#include "library/source_buffer.h"
#include "tokenizer/token.h"

namespace Parsers {

void reportCharacterError(const ErrorListenerList& listeners, ParseErrorCode code, char16_t unit,
                          const TextPosition* position)
{
    for (const auto& listener : listeners) listener->reportCharacterError(code, unit, position);
}

void reportTextError(const ErrorListenerList& listeners, ParseErrorCode code, const UString& text,
                     const TextPosition* position)
{
    for (const auto& listener : listeners) listener->reportTextError(code, text, position);
}

void reportPositionError(const ErrorListenerList& listeners, ParseErrorCode code,
                         const TextPosition* position)
{
    for (const auto& listener : listeners) listener->reportPositionError(code, position);
}

void reportSpanError(const ErrorListenerList& listeners, ParseErrorCode code,
                     const char16_t* units, std::uint32_t count, const TextPosition* position)
{
    for (const auto& listener : listeners) {
        listener->reportSpanError(code, units, count, position);
    }
}

void reportTokenError(const ErrorListenerList& listeners, ParseErrorCode code, TokenRef token)
{
    if (token->type == TokenType::StartTag || token->type == TokenType::EndTag) {
        const UString& name = static_cast<const NamedToken&>(*token).name;
        reportSpanError(listeners, code, name.data(), static_cast<std::uint32_t>(name.size()),
                        &token->position);
    } else {
        reportPositionError(listeners, code, &token->position);
    }
    // The reference taken by value is dropped here, on return.
}

void addErrorListener(SourceBuffer& source, std::shared_ptr<ErrorListener> listener)
{
    source.errorListeners.push_back(std::move(listener));
}

const char* parseErrorMessage(ParseErrorCode code)
{
    const auto index = static_cast<std::uint32_t>(code);
    return index < kParseErrorCount ? kParseErrorMessages[index] : nullptr;
}

}  // namespace Parsers
