#include "tokenizer/token.h"

#include <utility>

namespace Parsers {

void TagToken::finishAttribute(const ErrorListenerList& errorListeners)
{
    if (!currentAttribute) return;
    // A name that still refers to the tokenizer's builder becomes a lasting
    // text: the list's own or a copy.
    const UString* named = currentAttribute->name.referred();
    if (named && !isAttributeNameListText(named)) currentAttribute->setName(*named);
    UString qualifiedName = currentAttribute->getQualifiedName();
    if (qualifiedName.empty()) return;
    // try_emplace leaves the key untouched when the name is already taken, so it
    // can still be reported.
    auto [entry, entered] = attributes.try_emplace(std::move(qualifiedName), currentAttribute);
    if (entered) return;
    reportTextError(errorListeners, ParseErrorCode::DuplicateAttribute, entry->first,
                    &currentAttribute->position);
    currentAttribute->duplicate = true;
}

}  // namespace Parsers
