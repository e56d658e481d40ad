// Test support for the tree constructor: runs over a text with a tokenizer,
// runs fed with tokens by hand, a log of the reports, and a readable dump of a
// tree.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dom/element.h"
#include "dom/node.h"
#include "library/source_buffer.h"
#include "support/tree_builders.h"
#include "tokenizer/parse_errors.h"
#include "tokenizer/tokenizer.h"
#include "tree/tree_constructor.h"

namespace Parsers::Testing {

// Keeps the code of every report, in order.
class ErrorLog : public ErrorListener {
public:
    void reportCharacterError(ParseErrorCode code, char16_t, const TextPosition*) override;
    void reportTextError(ParseErrorCode code, const UString&, const TextPosition*) override;
    void reportPositionError(ParseErrorCode code, const TextPosition*) override;
    void reportSpanError(ParseErrorCode code, const char16_t*, std::uint32_t,
                         const TextPosition*) override;

    // Only the codes of the tree constructor (107 and up), which is what the
    // tests of this folder look at.
    std::vector<std::uint32_t> treeCodes() const;

    std::vector<std::uint32_t> codes;
};

// A tokenizer over a padded copy of a text, with a tree constructor of the given
// kind as its receiver, wired as the parse driver wires them.
class TreeRun {
public:
    explicit TreeRun(std::u16string_view text, std::uint32_t kind = 2);
    TreeRun(const TreeRun&) = delete;
    TreeRun& operator=(const TreeRun&) = delete;

    // Steps until the end of input; false when the step limit ran out first.
    bool runToEnd(std::size_t stepLimit = 1000000);
    // The document as dump() shows it.
    std::string tree() const;

    std::u16string buffer;
    SourceBuffer source;
    std::shared_ptr<ErrorLog> errors;
    std::unique_ptr<Tokenizer> tokenizer;
    std::shared_ptr<TreeConstructor> constructor;
};

// A tree constructor with no tokenizer, fed by hand through processToken and
// processCharacter.
class TreeFeed {
public:
    explicit TreeFeed(std::uint32_t kind = 2);

    TagTokenRef start(const std::u16string& name, std::initializer_list<AttributeSpec> attributes = {},
                      bool selfClosing = false, const std::u16string& prefix = u"");
    TagTokenRef end(const std::u16string& name);
    void text(std::u16string_view units);
    void comment(const std::u16string& data);
    std::shared_ptr<DoctypeToken> doctype(const std::u16string& name,
                                          const std::u16string& publicId = u"",
                                          const std::u16string& systemId = u"",
                                          bool forceQuirks = false);
    void endOfFile();
    std::string tree() const;

    SourceBuffer source;
    std::shared_ptr<ErrorLog> errors;
    std::shared_ptr<TreeConstructor> constructor;
    TextPosition position;
};

// Tokens made by hand.
TagTokenRef makeTag(TokenType type, const std::u16string& name,
                    std::initializer_list<AttributeSpec> attributes = {}, bool selfClosing = false,
                    const std::u16string& prefix = u"");
std::shared_ptr<CommentToken> makeCommentToken(const std::u16string& data);
TokenRef makeEndOfFile();

// The subtree below `root` (not `root` itself), one line per node, two spaces
// of indent per level:
//   <name>                an element; <p:name> with a prefix; " ns=N" follows
//                         when its namespace is not None; <(html)> for an
//                         element made from its tag id alone
//     key="value"         an attribute, under its element: the qualified
//                         name, " ns=N" for a namespace, " key=K" when the map
//                         key differs from the qualified name
//   "text"                a text, escaped (\n, \t, \\, \", \uXXXX)
//   <!-- data -->         a comment
//   <!DOCTYPE n "p" "s">  a doctype
std::string dump(Node& root);
std::string escapeText(std::u16string_view text);

// The names of the stack entries from the bottom, space-separated.
std::string stackNames(const TreeConstructor& constructor);

}  // namespace Parsers::Testing
