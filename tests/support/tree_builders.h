// Small helpers that build tokens and trees by hand for the unit tests.
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <utility>

#include "dom/element.h"
#include "dom/node.h"
#include "tokenizer/token.h"

namespace Parsers::Testing {

struct AttributeSpec {
    std::u16string name;
    std::u16string value;
    std::u16string prefix = u"";
};

inline AttributeRef makeAttribute(const AttributeSpec& wanted)
{
    auto attribute = Parsers::makeAttribute(nullptr, wanted.name.empty() ? u'?' : wanted.name[0], TextPosition{});
    attribute->name = wanted.name;
    attribute->setValue(wanted.value);
    attribute->prefix = wanted.prefix;
    return attribute;
}

// A start tag token with the given name, prefix and attributes (keyed by their
// qualified names, as the tokenizer keys them).
inline TagTokenRef makeStartTag(const std::u16string& name,
                                std::initializer_list<AttributeSpec> attributes = {},
                                const std::u16string& prefix = u"")
{
    auto token = std::make_shared<TagToken>(TokenType::StartTag);
    token->name = name;
    token->prefix = prefix;
    for (const AttributeSpec& wanted : attributes) {
        AttributeRef attribute = makeAttribute(wanted);
        token->attributes.emplace(attribute->getQualifiedName(), attribute);
    }
    return token;
}

// An element made from a start tag, as the tree constructor makes them.
inline Ref<Element> makeElement(const std::u16string& name,
                                std::initializer_list<AttributeSpec> attributes = {},
                                const std::u16string& prefix = u"")
{
    return makeElementForTag(makeStartTag(name, attributes, prefix));
}

inline Ref<TextNode> makeText(const std::u16string& text)
{
    auto node = makeNodeOnHeap<TextNode>(nullptr, text.empty() ? u'\0' : text[0]);
    node->setData(text);
    return node;
}

inline Ref<Comment> makeComment(const std::u16string& text)
{
    return makeNodeOnHeap<Comment>(nullptr, text);
}

// Appends child to parent and returns the child, for chains in tests.
template <typename NodeClass>
NodeClass* append(const Ref<NodeClass>& child, Node* parent)
{
    appendChild(child, parent);
    return child.get();
}

}  // namespace Parsers::Testing
