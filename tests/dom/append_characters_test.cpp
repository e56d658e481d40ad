// appendCharacters: a run of units appended as appendCharacter appends them
// one by one.

#include <gtest/gtest.h>

#include "dom/element.h"
#include "dom/node.h"
#include "support/tree_builders.h"

namespace Parsers {
namespace {

using Testing::append;
using Testing::makeComment;
using Testing::makeElement;
using Testing::makeText;

UString dataOf(const NodeRef& node)
{
    const CharacterText& data = static_cast<CharacterData*>(node.get())->data;
    return data.str();
}

TEST(AppendCharacters, StartsATextBehindAnElementOrComment)
{
    auto div = makeElement(u"div");
    append(makeComment(u"note"), div.get());
    appendCharacters(u"xyz", 3, div.get());
    ASSERT_EQ(div->children.size(), 2u);
    EXPECT_EQ(div->children[1]->nodeType, NodeType::Text);
    EXPECT_EQ(dataOf(div->children[1]), u"xyz");
    EXPECT_EQ(div->children[1]->parent, div.get());
    EXPECT_EQ(div->children[1]->previousSibling(), div->children[0].get());
    EXPECT_EQ(div->children[0]->nextSibling(), div->children[1].get());
}

TEST(AppendCharacters, ExtendsTheLastText)
{
    auto div = makeElement(u"div");
    append(makeText(u"ab"), div.get());
    appendCharacters(u"cd", 2, div.get());
    ASSERT_EQ(div->children.size(), 1u);
    EXPECT_EQ(dataOf(div->children[0]), u"abcd");
}

TEST(AppendCharacters, NothingForNoUnits)
{
    auto div = makeElement(u"div");
    appendCharacters(u"", 0, div.get());
    EXPECT_TRUE(div->children.empty());
}

TEST(AppendCharacters, RefusedWhereNoChildrenCanGo)
{
    auto text = makeText(u"t");
    appendCharacters(u"ab", 2, text.get());
    EXPECT_TRUE(text->children.empty());
    EXPECT_EQ(text->data, u"t");
    appendCharacters(u"ab", 2, nullptr);
    MarkerElement marker;
    appendCharacters(u"ab", 2, &marker);
    EXPECT_TRUE(marker.children.empty());
}

}  // namespace
}  // namespace Parsers
