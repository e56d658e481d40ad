// Parse error reporting: the listener interface, the fan-outs that hand a report
// to every listener of a parse, and the message catalogue.
//
// A report never changes the parse. The library itself installs no listener, so
// in a normal parse each report is a walk over an empty list; the machinery is
// complete so that a listener can be added without touching the parser.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "library/shared_types.h"
#include "tokenizer/parse_error_codes.h"  // generated: enum class ParseErrorCode

namespace Parsers {

struct SourceBuffer;

// Receives parse errors. In every operation `position` is valid during the call
// only: a listener that keeps it must copy the value.
class ErrorListener {
public:
    // `unit` is the 16-bit unit at fault.
    virtual void reportCharacterError(ParseErrorCode code, char16_t unit,
                                      const TextPosition* position) = 0;
    virtual void reportTextError(ParseErrorCode code, const UString& text,
                                 const TextPosition* position) = 0;
    virtual void reportPositionError(ParseErrorCode code, const TextPosition* position) = 0;
    // `units` points into the text being parsed; `count` units are promised
    // readable by whoever makes the report.
    virtual void reportSpanError(ParseErrorCode code, const char16_t* units, std::uint32_t count,
                                 const TextPosition* position) = 0;
    virtual ~ErrorListener() = default;
};

using ErrorListenerList = std::vector<std::shared_ptr<ErrorListener>>;

// The fan-outs: each calls the operation of the same name on every listener, in
// the order of the list. An empty list costs one comparison.
void reportCharacterError(const ErrorListenerList& listeners, ParseErrorCode code, char16_t unit,
                          const TextPosition* position);
void reportTextError(const ErrorListenerList& listeners, ParseErrorCode code, const UString& text,
                     const TextPosition* position);
void reportPositionError(const ErrorListenerList& listeners, ParseErrorCode code,
                         const TextPosition* position);
void reportSpanError(const ErrorListenerList& listeners, ParseErrorCode code,
                     const char16_t* units, std::uint32_t count, const TextPosition* position);

// The tree constructor's report about a token: a tag is reported with its name as
// a span, every other token by its position alone. Both use the position where
// the token began.
void reportTokenError(const ErrorListenerList& listeners, ParseErrorCode code, TokenRef token);

// Adds a listener to a parse. Internal only: no exported call reaches it, and a
// parse started through the library's entry point never has a listener.
void addErrorListener(SourceBuffer& source, std::shared_ptr<ErrorListener> listener);

// The catalogue, indexed by code (generated into parse_error_messages.cpp).
extern const char* const kParseErrorMessages[kParseErrorCount];

// The message of a code; null for a number outside the catalogue.
const char* parseErrorMessage(ParseErrorCode code);

}  // namespace Parsers
