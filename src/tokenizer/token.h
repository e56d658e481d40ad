// Tokens: what the tokenizer hands to the tree constructor. Character data is no
// token; it travels one 16-bit unit at a time through TokenReceiver.
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "dom/attribute.h"
#include "dom/attribute_map.h"
#include "dom/names.h"
#include "dom/parse_heap.h"
#include "library/shared_types.h"
#include "tokenizer/parse_errors.h"

namespace Parsers {

enum class TokenType : std::uint32_t {
    EndOfFile = 1,
    StartTag = 2,
    EndTag = 3,
    Doctype = 4,
    Comment = 5,
};

class Token {
public:
    explicit Token(TokenType tokenType) : type(tokenType) {}
    Token(const Token&) = default;
    Token& operator=(const Token&) = delete;
    virtual ~Token() = default;

    TokenType type;
    TextPosition position;
    bool ignored = false;
};

class NamedToken : public Token {
public:
    using Token::Token;

    // The name becomes exactly this one unit.
    virtual void setFirstCharacter(char16_t unit) { name.assign(1, unit); }
    // Assigns the whole name; giving the token its own name changes nothing.
    virtual void setName(const UString& text)
    {
        if (&text != &name) name = text;
    }

    UString name;
};

class TagToken : public NamedToken {
public:
    // The attributes' array comes from the heap when one is given.
    explicit TagToken(TokenType tokenType, ParseHeap* heap = nullptr)
        : NamedToken(tokenType), attributes(heap)
    {
    }

    void setFirstCharacter(char16_t unit) override
    {
        NamedToken::setFirstCharacter(unit);
        tagEntry = nullptr;
    }
    void setName(const UString& text) override { NamedToken::setName(text); }

    // The tag id of the name, cached in tagEntry once found. A name in no table
    // row (an upper-case name among them) answers Unknown and is looked up again
    // on the next call.
    TagId getTagId()
    {
        if (!tagEntry) tagEntry = lookupTagName(name.data(), name.size());
        return tagEntry ? tagEntry->id : TagId::Unknown;
    }

    // The namespace of the name's table row. The tag table is the table of the
    // HTML names and its rows carry no namespace of their own, so every name found
    // there answers Html; a name in no row answers None and, as in getTagId, is
    // looked up again on the next call.
    NamespaceId getNamespaceId()
    {
        if (!tagEntry) tagEntry = lookupTagName(name.data(), name.size());
        return tagEntry ? NamespaceId::Html : NamespaceId::None;
    }

    // The tokenizer grows the name one unit at a time; the cached row no longer
    // holds after any change.
    void appendToName(char16_t unit)
    {
        name.push_back(unit);
        tagEntry = nullptr;
    }

    // Starts a new attribute whose name is this one unit, made from the heap
    // when one is given. The one before is dropped unless finishAttribute has
    // entered it.
    void beginAttribute(char16_t unit, TextPosition where, ParseHeap* heap = nullptr)
    {
        currentAttribute = makeAttribute(heap, unit, where);
    }
    // The same for a name that the tokenizer grows in `nameBuilder`: the
    // attribute's name refers to it (see nameChangedIn) until finishAttribute
    // gives the attribute a lasting text.
    void beginAttribute(char16_t unit, TextPosition where, ParseHeap* heap, UString& nameBuilder)
    {
        currentAttribute = makeAttribute(heap, where);
        nameBuilder.assign(1, unit);
        currentAttribute->name.refer(nameBuilder);
    }
    // After a change of the builder: the current attribute's name is the
    // builder's text again, and its cached id no longer holds.
    void nameChangedIn(const UString& nameBuilder)
    {
        currentAttribute->name.refer(nameBuilder);
        currentAttribute->attributeId = AttributeId::Unknown;
    }

    // Enters currentAttribute under its qualified name. An empty qualified name
    // enters nothing. When the name is taken, the first attribute of that name
    // wins: the later one is flagged duplicate, reported, and dies when the next
    // attribute replaces it.
    void finishAttribute(const ErrorListenerList& errorListeners);

    AttributeMap attributes;
    AttributeRef currentAttribute;
    bool selfClosing = false;
    bool selfClosingAcknowledged = false;
    const TagRow* tagEntry = nullptr;
    UString prefix;
};

class DoctypeToken : public NamedToken {
public:
    DoctypeToken() : NamedToken(TokenType::Doctype) {}

    bool forceQuirks = false;
    UString publicId;
    UString systemId;
};

class DataToken : public Token {
public:
    using Token::Token;

    UString data;
};

class CommentToken : public DataToken {
public:
    CommentToken() : DataToken(TokenType::Comment) {}
};

class EndOfFileToken : public Token {
public:
    EndOfFileToken() : Token(TokenType::EndOfFile) {}
};

using TagTokenRef = std::shared_ptr<TagToken>;

// Takes what the tokenizer emits: single units of text and whole tokens.
class TokenReceiver {
public:
    virtual void processCharacter(char16_t unit, const TextPosition* position) = 0;
    virtual void processToken(TokenRef token) = 0;
    virtual ~TokenReceiver() = default;
};

// A receiver that can also take a run of text units in one call, where it
// would do with each exactly what processCharacter does, and needs neither the
// units' positions nor a look at the stream while it does so. A tokenizer with
// such a receiver as its only one hands it runs: one call per run instead of
// one per unit is most of the cost of plain text.
class CharacterRunReceiver {
public:
    // Whether the units that come next may go to processCharacterRun. Asked
    // before every run, since the answer changes as the receiver works.
    virtual bool acceptsCharacterRun() = 0;
    // Takes the units, which the tokenizer has consumed, as if each had gone
    // to processCharacter in turn.
    virtual void processCharacterRun(const char16_t* units, std::uint32_t count) = 0;

protected:
    ~CharacterRunReceiver() = default;
};

}  // namespace Parsers
