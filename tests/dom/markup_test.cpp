// Markup output of every node class on trees built by hand, and the escaping
// of text and attribute values.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "dom/element.h"
#include "dom/node.h"
#include "support/tree_builders.h"

namespace Parsers {
namespace {

using Testing::append;
using Testing::makeComment;
using Testing::makeElement;
using Testing::makeStartTag;
using Testing::makeText;

// A tag name for failure messages.
std::string narrow(const char16_t* name)
{
    std::string out;
    for (; *name; ++name) out += static_cast<char>(*name);
    return out;
}

// Start tag, content and end tag of a name; built by appending, which GCC 12
// at -O3 does not take for an overlapping copy.
UString tagged(const UString& name, const UString& content, bool endTag = true)
{
    UString out(u"<");
    out.append(name);
    out.append(content);
    if (!endTag) return out;
    out.append(u"</");
    out.append(name);
    out.push_back(u'>');
    return out;
}

// An element whose tag id has been looked up, as the tree constructor's
// stack does for every element it pushes.
Ref<Element> knownElement(const std::u16string& name,
                          std::initializer_list<Testing::AttributeSpec> attributes = {})
{
    auto element = makeElement(name, attributes);
    element->getTagId();
    return element;
}

TEST(EscapeMarkup, ReplacesTheFourUnitsAndQuotesOnlyInAttributes)
{
    const UString text = u"a&b<c>d\u00A0e\"f'g";
    EXPECT_EQ(escapeMarkup(text, false), u"a&amp;b&lt;c&gt;d&#160;e\"f'g");
    EXPECT_EQ(escapeMarkup(text, true), u"a&amp;b&lt;c&gt;d&#160;e&quot;f'g");
    EXPECT_EQ(escapeMarkup(UString(), true), u"");
}

TEST(EscapeMarkup, ResultIsOneStaticStringValidUntilTheNextCall)
{
    const UString& first = escapeMarkup(u"x&", false);
    EXPECT_EQ(first, u"x&amp;");
    const UString& second = escapeMarkup(u"y", false);
    EXPECT_EQ(&first, &second);
    EXPECT_EQ(first, u"y");
}

TEST(WriteMarkup, CommentDataAsItStands)
{
    EXPECT_EQ(makeComment(u" a<b>&c ")->markup(), u"<!-- a<b>&c -->");
}

TEST(WriteMarkup, DoctypeWritesItsNameOnly)
{
    DocumentType doctype(u"html", u"-//W3C//DTD HTML 4.01//EN", u"http://example.org/x.dtd");
    EXPECT_EQ(doctype.markup(), u"<!DOCTYPE html>");
}

TEST(WriteMarkup, XmlDeclarationWithEachPartOrNone)
{
    XmlDeclaration declaration;
    EXPECT_EQ(declaration.markup(), u"<?xml?>");
    declaration.version = u"1.0";
    EXPECT_EQ(declaration.markup(), u"<?xml version=\"1.0\"?>");
    declaration.encoding = u"utf-8";
    declaration.standalone = true;
    EXPECT_EQ(declaration.markup(), u"<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"yes\"?>");
    declaration.version.clear();
    EXPECT_EQ(declaration.markup(), u"<?xml encoding=\"utf-8\" standalone=\"yes\"?>");
    // Its node type is its own: no marker, no element.
    EXPECT_EQ(declaration.nodeType, NodeType::XmlDeclaration);
    EXPECT_NE(declaration.nodeType, NodeType::Marker);
}

TEST(WriteMarkup, DocumentWritesItsChildrenAndSkipsHiddenOnes)
{
    Document document(2);
    append(makeNode<DocumentType>(nullptr, u"html", u"", u""), &document);
    append(makeComment(u"c"), &document);
    Comment* hidden = append(makeComment(u"hidden"), &document);
    hidden->hiddenFromMarkup = true;
    append(makeText(u"t<"), &document);
    EXPECT_EQ(document.markup(), u"<!DOCTYPE html><!--c-->t&lt;");
}

TEST(WriteMarkup, ElementWithAttributesInMapOrderAndEscapedValues)
{
    auto element = makeElement(u"p", {{u"title", u"a\"b&c"}, {u"class", u"x<y"}});
    append(makeText(u"1 > 0"), element.get());
    EXPECT_EQ(element->markup(), u"<p class=\"x&lt;y\" title=\"a&quot;b&amp;c\">1 &gt; 0</p>");
}

TEST(WriteMarkup, PrefixesOfElementsAndAttributes)
{
    auto prefixed = makeElement(u"b", {{u"c", u"1", u"d"}}, u"a");
    EXPECT_EQ(prefixed->markup(), u"<a:b d:c=\"1\"></a:b>");

    // Without a prefix of its own the namespace gives one, above HTML only.
    auto svg = makeElement(u"svg", {{u"href", u"#x"}, {u"lang", u"en"}, {u"id", u"i"}});
    svg->namespaceId = NamespaceId::Svg;
    svg->attributes.at(u"href")->namespaceId = NamespaceId::XLink;
    svg->attributes.at(u"lang")->namespaceId = NamespaceId::Xml;
    EXPECT_EQ(svg->markup(), u"<svg:svg xlink:href=\"#x\" id=\"i\" xml:lang=\"en\"></svg:svg>");

    auto html = makeElement(u"div");
    html->namespaceId = NamespaceId::Html;
    auto none = makeElement(u"div");
    none->namespaceId = NamespaceId::None;
    EXPECT_EQ(html->markup(), u"<div></div>");
    EXPECT_EQ(none->markup(), u"<div></div>");

    auto math = makeElement(u"mi");
    math->namespaceId = NamespaceId::MathMl;
    EXPECT_EQ(math->markup(), u"<mathml:mi></mathml:mi>");
}

TEST(WriteMarkup, SelfClosingOnlyWithoutChildren)
{
    TagTokenRef token = makeStartTag(u"x");
    token->selfClosing = true;
    auto empty = makeNode<Element>(nullptr, token);
    EXPECT_EQ(empty->markup(), u"<x />");
    append(makeText(u"y"), empty.get());
    EXPECT_EQ(empty->markup(), u"<x>y</x>");

    // Without a token the element's own field answers.
    Element byId(TagId::Br, NodeType::Element);
    EXPECT_EQ(byId.markup(), u"<br>");
    byId.selfClosing = true;
    EXPECT_EQ(byId.markup(), u"<br />");
}

TEST(WriteMarkup, VoidTagsWriteNoContentAndNoEndTag)
{
    for (const char16_t* name : {u"area", u"base", u"basefont", u"bgsound", u"br", u"col",
                                 u"command", u"embed", u"frame", u"hr", u"img", u"input",
                                 u"keygen", u"link", u"meta", u"param", u"source", u"track",
                                 u"wbr"}) {
        auto element = knownElement(name, {{u"a", u"1"}});
        append(makeText(u"lost"), element.get());
        EXPECT_EQ(element->markup(), tagged(name, u" a=\"1\">", false)) << "tag " << narrow(name);
    }
}

TEST(WriteMarkup, TagIdIsTakenAsItStandsWithoutLookup)
{
    // Never looked up, a br is written like any other element.
    auto unresolved = makeElement(u"br");
    append(makeText(u"x"), unresolved.get());
    ASSERT_EQ(unresolved->tagId, TagId::Unknown);
    EXPECT_EQ(unresolved->markup(), u"<br>x</br>");
}

TEST(WriteMarkup, LineFeedAfterTheStartOfPreListingAndTextarea)
{
    for (const char16_t* name : {u"pre", u"listing", u"textarea"}) {
        auto element = knownElement(name);
        append(makeText(u"\nx"), element.get());
        EXPECT_EQ(element->markup(), tagged(name, u">\n\nx")) << "tag " << narrow(name);
        EXPECT_EQ(knownElement(name)->markup(), tagged(name, u">\n"));
    }
}

TEST(WriteMarkup, HiddenChildrenOfAnElementAreSkipped)
{
    auto div = makeElement(u"div");
    append(makeText(u"a"), div.get());
    Element* span = append(makeElement(u"span"), div.get());
    append(makeText(u"b"), span);
    span->hiddenFromMarkup = true;
    append(makeComment(u"c"), div.get());
    EXPECT_EQ(div->markup(), u"<div>a<!--c--></div>");
}

TEST(WriteMarkup, RawTextStaysUnescapedOnlyInCaseFoldingDocuments)
{
    for (std::int32_t kind : {1, 2}) {
        Document document(kind);
        Element* script = append(knownElement(u"script"), &document);
        append(makeText(u"a<b&c"), script);
        Element* div = append(knownElement(u"div"), &document);
        append(makeText(u"a<b"), div);
        UString expected = kind == 1 ? u"<script>a<b&c</script>" : u"<script>a&lt;b&amp;c</script>";
        expected.append(u"<div>a&lt;b</div>");
        EXPECT_EQ(document.markup(), expected) << "kind " << kind;
    }
}

TEST(WriteMarkup, RawTextParentsOfADetachedTree)
{
    // With no document above, the text counts as case folding.
    for (const char16_t* name : {u"iframe", u"noembed", u"noframes", u"plaintext", u"script",
                                 u"style", u"xmp"}) {
        auto element = knownElement(name);
        append(makeText(u"<&>"), element.get());
        EXPECT_EQ(element->markup(), tagged(name, u"><&>")) << "tag " << narrow(name);
    }
    auto title = knownElement(u"title");
    append(makeText(u"<&>"), title.get());
    EXPECT_EQ(title->markup(), u"<title>&lt;&amp;&gt;</title>");
}

TEST(WriteMarkup, ElementMadeFromItsTagIdIsNamedFromTheTable)
{
    auto html = makeNode<Element>(nullptr, TagId::Html, NodeType::Element);
    append(knownElement(u"head"), html.get());
    EXPECT_EQ(html->markup(), u"<html><head></head></html>");
}

TEST(WriteMarkup, DeepTreeIsWrittenWithoutRecursion)
{
    constexpr int kDepth = 200000;
    Document document(2);
    Node* parent = &document;
    for (int level = 0; level < kDepth; ++level) parent = append(makeElement(u"i"), parent);
    append(makeText(u"x"), parent);
    const UString markup = document.markup();
    ASSERT_EQ(markup.size(), static_cast<std::size_t>(kDepth) * 7 + 1);
    EXPECT_EQ(markup.substr(0, 6), u"<i><i>");
    EXPECT_EQ(markup.substr(static_cast<std::size_t>(kDepth) * 3, 5), u"x</i>");
}

}  // namespace
}  // namespace Parsers
