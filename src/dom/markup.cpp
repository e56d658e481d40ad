// Markup text output: a node and its descendants written back as markup.
//
// Nothing in the exported parse calls this; it serves the tool and the tests
// from inside the project. Elements and the document walk their subtree with an
// explicit stack, so a document nested a million deep is written without a
// call per level; the other node classes are leaves and write themselves.
#include <vector>

#include "dom/element.h"
#include "dom/names.h"
#include "dom/node.h"
#include "dom/node_classes.h"

namespace Parsers {

namespace {

constexpr char16_t kNoBreakSpace = 0x00A0;

// Elements that get no content and no end tag in markup, whatever they hold.
bool isVoidInMarkup(TagId tag)
{
    switch (tag) {
    case TagId::Area:
    case TagId::Base:
    case TagId::Basefont:
    case TagId::Bgsound:
    case TagId::Br:
    case TagId::Col:
    case TagId::Command:
    case TagId::Embed:
    case TagId::Frame:
    case TagId::Hr:
    case TagId::Img:
    case TagId::Input:
    case TagId::Keygen:
    case TagId::Link:
    case TagId::Meta:
    case TagId::Param:
    case TagId::Source:
    case TagId::Track:
    case TagId::Wbr:
        return true;
    default:
        return false;
    }
}

// Elements whose first line feed a parser drops: one is written in front of
// their content, whatever that content begins with.
bool startsWithLineFeedInMarkup(TagId tag)
{
    return tag == TagId::Listing || tag == TagId::Pre || tag == TagId::Textarea;
}

// Elements whose text is written as it stands in a case folding document.
bool isRawTextParent(TagId tag)
{
    switch (tag) {
    case TagId::Iframe:
    case TagId::Noembed:
    case TagId::Noframes:
    case TagId::Plaintext:
    case TagId::Script:
    case TagId::Style:
    case TagId::Xmp:
        return true;
    default:
        return false;
    }
}

// prefix:name, with the prefix of the namespace when the node has no prefix of
// its own and a namespace above HTML.
void appendQualifiedName(UString& out, const UString& prefix, NamespaceId namespaceId,
                         const UString& name)
{
    if (!prefix.empty()) {
        out.append(prefix);
        out.push_back(u':');
    } else if (static_cast<std::int32_t>(namespaceId) > 0) {
        const char16_t* namespacePrefix =
            tagNameText(kNamespacePrefixRow + static_cast<std::int32_t>(namespaceId));
        if (namespacePrefix) {
            out.append(namespacePrefix);
            out.push_back(u':');
        }
    }
    out.append(name);
}

void appendElementName(UString& out, Element& element)
{
    appendQualifiedName(out, element.prefix(), element.namespaceId, element.getNodeName());
}

// The start tag of an element. Returns true when its children and end tag
// follow; false when the element is written as self-closing or as void.
bool writeStartTag(UString& out, Element& element)
{
    out.push_back(u'<');
    appendElementName(out, element);
    for (const auto& [key, attribute] : element.attributes) {
        out.push_back(u' ');
        appendQualifiedName(out, attribute->prefix, attribute->namespaceId, attribute->name);
        out.append(u"=\"");
        out.append(escapeMarkup(attribute->value.str(), true));
        out.push_back(u'"');
    }
    if (element.isSelfClosing()) {
        out.append(u" />");
        return false;
    }
    out.push_back(u'>');
    // The tag id as it stands: an element whose id was never looked up is
    // written with its content and end tag, even when its name is a void one.
    if (isVoidInMarkup(element.tagId)) return false;
    if (startsWithLineFeedInMarkup(element.tagId)) out.push_back(u'\n');
    return true;
}

void writeEndTag(UString& out, Element& element)
{
    out.append(u"</");
    appendElementName(out, element);
    out.push_back(u'>');
}

// Elements are the nodes whose class is Element: ordinary elements and cells,
// and a marker should one ever be written.
bool isElementClass(const Node& node)
{
    return node.nodeType == NodeType::Element || node.nodeType == NodeType::Marker;
}

// Writes the children of `root` in order, each with its subtree, skipping
// nodes hidden from markup. An element's end tag is written when the walk
// comes back up past it.
void writeChildrenMarkup(UString& out, Node& root)
{
    struct Frame {
        Node* node;
        std::size_t nextChild;
    };
    std::vector<Frame> open{{&root, 0}};
    while (!open.empty()) {
        Frame& frame = open.back();
        if (frame.nextChild == frame.node->children.size()) {
            Node* finished = frame.node;
            open.pop_back();
            if (finished != &root) writeEndTag(out, static_cast<Element&>(*finished));
            continue;
        }
        Node& child = *frame.node->children[frame.nextChild++];
        if (child.hiddenFromMarkup) continue;
        if (!isElementClass(child)) {
            child.writeMarkup(out);
            continue;
        }
        auto& element = static_cast<Element&>(child);
        if (writeStartTag(out, element)) open.push_back({&element, 0});
    }
}

}  // namespace

const UString& escapeMarkup(std::u16string_view text, bool inAttribute)
{
    // One result for all calls, as the image writer keeps one interning set:
    // markup output runs on one thread at a time.
    static UString escaped;
    escaped.clear();
    escaped.reserve(text.size() * 4);
    for (char16_t unit : text) {
        switch (unit) {
        case u'&': escaped.append(u"&amp;"); break;
        case u'<': escaped.append(u"&lt;"); break;
        case u'>': escaped.append(u"&gt;"); break;
        case kNoBreakSpace: escaped.append(u"&#160;"); break;
        case u'"':
            if (inAttribute) {
                escaped.append(u"&quot;");
            } else {
                escaped.push_back(unit);
            }
            break;
        default: escaped.push_back(unit); break;
        }
    }
    return escaped;
}

void Node::writeMarkup(UString& out)
{
    visitAsItsClass(*this, [&out](auto& typed) { typed.writeMarkup(out); });
}

void Document::writeMarkup(UString& out)
{
    writeChildrenMarkup(out, *this);
}

void Element::writeMarkup(UString& out)
{
    if (!writeStartTag(out, *this)) return;
    writeChildrenMarkup(out, *this);
    writeEndTag(out, *this);
}

void Comment::writeMarkup(UString& out)
{
    out.append(u"<!--");
    data.appendTo(out);
    out.append(u"-->");
}

void DocumentType::writeMarkup(UString& out)
{
    out.append(u"<!DOCTYPE ");
    out.append(name);
    out.push_back(u'>');
}

void XmlDeclaration::writeMarkup(UString& out)
{
    out.append(u"<?xml");
    if (!version.empty()) {
        out.append(u" version=\"");
        out.append(version);
        out.push_back(u'"');
    }
    if (!encoding.empty()) {
        out.append(u" encoding=\"");
        out.append(encoding);
        out.push_back(u'"');
    }
    if (standalone) out.append(u" standalone=\"yes\"");
    out.append(u"?>");
}

// Text is written as it stands only inside the raw text elements of a case
// folding document (or of a tree that belongs to no document); everywhere
// else, and so always in a case preserving document, it is escaped.
void TextNode::writeMarkup(UString& out)
{
    const Document* owner = getOwnerDocument();
    const bool caseFoldingOrNone = !owner || owner->documentKind == 1;
    if (caseFoldingOrNone && parent && parent->nodeType == NodeType::Element &&
        isRawTextParent(static_cast<Element*>(parent)->getTagId())) {
        data.appendTo(out);
        return;
    }
    out.append(escapeMarkup(data.str(), false));
}

}  // namespace Parsers
