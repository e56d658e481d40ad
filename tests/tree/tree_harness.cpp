#include "tree_harness.h"

#include <cstdio>
#include <utility>

namespace Parsers::Testing {

namespace {

constexpr std::uint32_t kFirstTreeCode = 107;

std::string narrow(std::u16string_view text)
{
    return escapeText(text);
}

std::string quoted(const std::string& text)
{
    std::string out(1, '"');
    out += text;
    out += '"';
    return out;
}

std::string elementLine(Element& element)
{
    std::string line = "<";
    if (!element.prefix().empty()) line += narrow(element.prefix()) + ":";
    if (element.nameText().empty() && element.tagId != TagId::Unknown) {
        line += '(';
        line += narrow(tagNameText(static_cast<std::int32_t>(element.tagId)));
        line += ')';
    } else {
        line += narrow(element.nameText());
    }
    line += ">";
    if (element.namespaceId != NamespaceId::None) {
        line += " ns=" + std::to_string(static_cast<int>(element.namespaceId));
    }
    return line;
}

std::string attributeLine(const UString& key, const Attribute& attribute)
{
    const UString qualified = attribute.getQualifiedName();
    std::string line = narrow(qualified) + "=\"" + narrow(attribute.value.str()) + "\"";
    if (attribute.namespaceId != NamespaceId::None) {
        line += " ns=" + std::to_string(static_cast<int>(attribute.namespaceId));
    }
    if (key != qualified) line += " key=" + narrow(key);
    return line;
}

std::string nodeLine(Node& node)
{
    switch (node.nodeType) {
    case NodeType::Element:
        return elementLine(static_cast<Element&>(node));
    case NodeType::Text:
        return quoted(escapeText(static_cast<CharacterData&>(node).data.str()));
    case NodeType::Comment:
        return "<!-- " + escapeText(static_cast<CharacterData&>(node).data.str()) + " -->";
    case NodeType::DocumentType: {
        auto& doctype = static_cast<DocumentType&>(node);
        return "<!DOCTYPE " + narrow(doctype.name) + " \"" + narrow(doctype.publicId) + "\" \"" +
               narrow(doctype.systemId) + "\">";
    }
    default:
        return "?";
    }
}

}  // namespace

void ErrorLog::reportCharacterError(ParseErrorCode code, char16_t, const TextPosition*)
{
    codes.push_back(static_cast<std::uint32_t>(code));
}
void ErrorLog::reportTextError(ParseErrorCode code, const UString&, const TextPosition*)
{
    codes.push_back(static_cast<std::uint32_t>(code));
}
void ErrorLog::reportPositionError(ParseErrorCode code, const TextPosition*)
{
    codes.push_back(static_cast<std::uint32_t>(code));
}
void ErrorLog::reportSpanError(ParseErrorCode code, const char16_t*, std::uint32_t,
                               const TextPosition*)
{
    codes.push_back(static_cast<std::uint32_t>(code));
}

std::vector<std::uint32_t> ErrorLog::treeCodes() const
{
    std::vector<std::uint32_t> result;
    for (std::uint32_t code : codes) {
        if (code >= kFirstTreeCode) result.push_back(code);
    }
    return result;
}

TreeRun::TreeRun(std::u16string_view text, std::uint32_t kind)
    : buffer(text), errors(std::make_shared<ErrorLog>())
{
    // The tokenizer and the character references look a little past the text.
    buffer.append(8, u'\0');
    source.text = buffer.data();
    source.textLength = static_cast<std::uint32_t>(text.size());
    source.parseMode = kind;
    addErrorListener(source, errors);
    tokenizer = std::make_unique<Tokenizer>(&source);
    constructor = std::make_shared<TreeConstructor>(&source, tokenizer.get(), kind);
    tokenizer->addReceiver(constructor);
    additionalAllowedCharacter.store(0);
}

bool TreeRun::runToEnd(std::size_t stepLimit)
{
    for (std::size_t steps = 0; !tokenizer->atEndOfInput(); ++steps) {
        if (steps == stepLimit) return false;
        tokenizer->step();
    }
    return true;
}

std::string TreeRun::tree() const
{
    return dump(*constructor->document);
}

TreeFeed::TreeFeed(std::uint32_t kind) : errors(std::make_shared<ErrorLog>())
{
    source.parseMode = kind;
    addErrorListener(source, errors);
    constructor = std::make_shared<TreeConstructor>(&source, nullptr, kind);
}

TagTokenRef TreeFeed::start(const std::u16string& name, std::initializer_list<AttributeSpec> attributes,
                            bool selfClosing, const std::u16string& prefix)
{
    TagTokenRef token = makeTag(TokenType::StartTag, name, attributes, selfClosing, prefix);
    token->position = position;
    constructor->processToken(token);
    return token;
}

TagTokenRef TreeFeed::end(const std::u16string& name)
{
    TagTokenRef token = makeTag(TokenType::EndTag, name);
    token->position = position;
    constructor->processToken(token);
    return token;
}

void TreeFeed::text(std::u16string_view units)
{
    for (char16_t unit : units) constructor->processCharacter(unit, &position);
}

void TreeFeed::comment(const std::u16string& data)
{
    constructor->processToken(makeCommentToken(data));
}

std::shared_ptr<DoctypeToken> TreeFeed::doctype(const std::u16string& name,
                                                const std::u16string& publicId,
                                                const std::u16string& systemId, bool forceQuirks)
{
    auto token = std::make_shared<DoctypeToken>();
    token->name = name;
    token->publicId = publicId;
    token->systemId = systemId;
    token->forceQuirks = forceQuirks;
    token->position = position;
    constructor->processToken(token);
    return token;
}

void TreeFeed::endOfFile()
{
    constructor->processToken(makeEndOfFile());
}

std::string TreeFeed::tree() const
{
    return dump(*constructor->document);
}

TagTokenRef makeTag(TokenType type, const std::u16string& name,
                    std::initializer_list<AttributeSpec> attributes, bool selfClosing,
                    const std::u16string& prefix)
{
    TagTokenRef token = makeStartTag(name, attributes, prefix);
    token->type = type;
    token->selfClosing = selfClosing;
    return token;
}

std::shared_ptr<CommentToken> makeCommentToken(const std::u16string& data)
{
    auto token = std::make_shared<CommentToken>();
    token->data = data;
    return token;
}

TokenRef makeEndOfFile()
{
    return std::make_shared<EndOfFileToken>();
}

std::string escapeText(std::u16string_view text)
{
    std::string out;
    for (char16_t unit : text) {
        switch (unit) {
        case u'\n': out += "\\n"; break;
        case u'\t': out += "\\t"; break;
        case u'\\': out += "\\\\"; break;
        case u'"': out += "\\\""; break;
        default:
            if (unit >= 0x20 && unit < 0x7F) {
                out += static_cast<char>(unit);
            } else {
                char code[8];
                std::snprintf(code, sizeof code, "\\u%04X", static_cast<unsigned>(unit));
                out += code;
            }
        }
    }
    return out;
}

std::string dump(Node& root)
{
    std::string out;
    // Depth-first without recursion: children are pushed in reverse order.
    std::vector<std::pair<Node*, std::size_t>> pending;
    for (auto child = root.children.rbegin(); child != root.children.rend(); ++child) {
        pending.emplace_back(child->get(), 0);
    }
    while (!pending.empty()) {
        auto [node, depth] = pending.back();
        pending.pop_back();
        out += std::string(2 * depth, ' ') + nodeLine(*node) + "\n";
        if (node->nodeType == NodeType::Element) {
            for (const auto& [key, attribute] : static_cast<Element&>(*node).attributes) {
                out += std::string(2 * depth + 2, ' ') + attributeLine(key, *attribute) + "\n";
            }
        }
        for (auto child = node->children.rbegin(); child != node->children.rend(); ++child) {
            pending.emplace_back(child->get(), depth + 1);
        }
    }
    return out;
}

std::string stackNames(const TreeConstructor& constructor)
{
    std::string out;
    for (const NodeRef& entry : constructor.openElements) {
        if (!out.empty()) out += " ";
        if (!entry) {
            out += "(null)";
            continue;
        }
        auto& element = static_cast<Element&>(*entry);
        if (element.nameText().empty() && element.tagId != TagId::Unknown) {
            out += '(';
            out += narrow(tagNameText(static_cast<std::int32_t>(element.tagId)));
            out += ')';
        } else {
            out += narrow(element.nameText());
        }
    }
    return out;
}

}  // namespace Parsers::Testing
