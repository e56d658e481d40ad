// Stress: documents far larger, deeper and wider than real ones, every
// truncation of corpus documents and random damage to them. Nothing here is
// timed; each test checks exact shapes through the image reader, and where
// DOM_Parse comes back, that the guarded library made the same image.
//
// Under a sanitizer (DOMPARSE_SANITIZED) the sizes are scaled down by the
// factor below, and the truncations and damage take a sample: the paths are
// the same, only fewer bytes go through them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "domparse.h"
#include "domparse_reader.h"
#include "support/padded_parse.h"

namespace {

using PaddedParse::Outcome;

#if defined(DOMPARSE_SANITIZED)
constexpr std::size_t kScale = 10;
constexpr std::size_t kPrefixStride = 13;
constexpr int kDamagedCopies = 1;
#else
constexpr std::size_t kScale = 1;
constexpr std::size_t kPrefixStride = 1;
constexpr int kDamagedCopies = 4;
#endif

struct ImageCloser {
    void operator()(DOMImage* image) const { DOMImage_Close(image); }
};
using OpenImage = std::unique_ptr<DOMImage, ImageCloser>;

// Opens an image with the reader; null (with a test failure) when it refuses.
OpenImage open(const Outcome& outcome)
{
    DOMImage* image = nullptr;
    char message[256] = "";
    if (DOMImage_Open(outcome.image.data(), outcome.image.size(), &image, message,
                      sizeof message) != 0) {
        ADD_FAILURE() << "the reader refuses the image: " << message;
        return nullptr;
    }
    return OpenImage(image);
}

std::u16string unitsOf(DOMImageString string)
{
    std::u16string units;
    units.reserve(string.length);
    for (std::uint32_t i = 0; i < string.length; ++i) {
        units.push_back(static_cast<char16_t>(DOMImage_Unit(string, i)));
    }
    return units;
}

// A letter followed by a number, as UTF-16 units: "a17". Built by appending:
// GCC 12 warns falsely (-Wrestrict) about a literal put in front of a
// temporary string.
std::u16string numberedName(char letter, std::size_t number)
{
    std::u16string name(1, static_cast<char16_t>(letter));
    for (char digit : std::to_string(number)) name += static_cast<char16_t>(digit);
    return name;
}

// Parses with both libraries; expects both to return `result` with equal
// images, and hands back the outcome.
Outcome parseBoth(const std::string& text, std::uint32_t result = DOM_RESULT_OK)
{
    Outcome guarded = PaddedParse::run(DOM_ParseGuarded, text);
    EXPECT_EQ(guarded.result, result);
    const Outcome faithful = PaddedParse::run(DOM_Parse, text);
    EXPECT_EQ(faithful.result, result);
    EXPECT_TRUE(guarded == faithful) << "the images of the two libraries differ";
    return guarded;
}

// ------------------------------------------------------------ large shapes

TEST(Stress, MillionNestedUnclosedElements)
{
    const std::size_t depth = 1000000 / kScale;
    std::string text;
    text.reserve(depth * 5);
    for (std::size_t i = 0; i < depth; ++i) text += "<div>";
    const Outcome outcome = parseBoth(text);
    OpenImage image = open(outcome);
    ASSERT_TRUE(image);
    ASSERT_EQ(DOMImage_NodeCount(image.get()), depth);
    ASSERT_EQ(DOMImage_RootCount(image.get()), 1u);
    DOMImageNode deepest;
    ASSERT_EQ(DOMImage_GetNode(image.get(), static_cast<std::uint32_t>(depth - 1), &deepest), 1);
    EXPECT_EQ(deepest.depth, depth - 1);
    EXPECT_EQ(deepest.childCount, 0u);
    EXPECT_EQ(unitsOf(DOMImage_ElementName(image.get(), static_cast<std::uint32_t>(depth - 1))),
              u"div");
    EXPECT_EQ(DOMImage_SubtreeEnd(image.get(), 0), depth);
}

TEST(Stress, TwoHundredThousandAttributesOnOneElement)
{
    const std::size_t count = 200000 / kScale;
    std::string text = "<p";
    for (std::size_t i = 0; i < count; ++i) {
        // Appended piece by piece: GCC 12 warns falsely (-Wrestrict) about a
        // literal put in front of a temporary string.
        text += " a";
        text += std::to_string(i);
        text += "=v";
    }
    text += ">x</p>";
    const Outcome outcome = parseBoth(text);
    OpenImage image = open(outcome);
    ASSERT_TRUE(image);
    ASSERT_EQ(DOMImage_NodeCount(image.get()), 2u);
    DOMImageNode element;
    ASSERT_EQ(DOMImage_GetNode(image.get(), 0, &element), 1);
    ASSERT_EQ(element.attributeCount, count);
    std::set<std::u16string> names;
    for (std::uint32_t position = 0; position < count; ++position) {
        DOMImageAttribute attribute;
        ASSERT_EQ(DOMImage_GetAttribute(
                      image.get(), DOMImage_ElementAttribute(image.get(), 0, position), &attribute),
                  1);
        ASSERT_EQ(unitsOf(DOMImage_String(image.get(), attribute.valueString)), u"v");
        names.insert(unitsOf(DOMImage_String(image.get(), attribute.nameString)));
    }
    ASSERT_EQ(names.size(), count);
    for (std::size_t i = 0; i < count; i += 997) {
        EXPECT_EQ(names.count(numberedName('a', i)), 1u) << i;
    }
}

TEST(Stress, HundredThousandDistinctNames)
{
    // As many element names, each with an attribute of its own name: every
    // one a new string of the image's string table.
    const std::size_t count = 100000 / kScale;
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        text += "<e";
        text += number;
        text += " k";
        text += number;
        text += "=1></e";
        text += number;
        text += ">";
    }
    const Outcome outcome = parseBoth(text);
    OpenImage image = open(outcome);
    ASSERT_TRUE(image);
    ASSERT_EQ(DOMImage_NodeCount(image.get()), count);
    ASSERT_EQ(DOMImage_RootCount(image.get()), count);
    // Element names, attribute names and the one value "1".
    EXPECT_EQ(DOMImage_StringCount(image.get()), 2 * count + 1);
    for (std::uint32_t index = 0; index < count; index += 101) {
        EXPECT_EQ(unitsOf(DOMImage_ElementName(image.get(), index)),
                  numberedName('e', index));
    }
}

TEST(Stress, TenMillionCharactersInOneText)
{
    const std::size_t length = 10000000 / kScale;
    std::string text(length, 'a');
    text[length / 2] = '\n';
    const Outcome outcome = parseBoth(text);
    OpenImage image = open(outcome);
    ASSERT_TRUE(image);
    ASSERT_EQ(DOMImage_NodeCount(image.get()), 1u);
    DOMImageNode node;
    ASSERT_EQ(DOMImage_GetNode(image.get(), 0, &node), 1);
    ASSERT_EQ(node.kind, DOM_IMAGE_TEXT);
    const DOMImageString data = DOMImage_String(image.get(), node.dataString);
    ASSERT_EQ(data.length, length);
    EXPECT_EQ(DOMImage_Unit(data, 0), u'a');
    EXPECT_EQ(DOMImage_Unit(data, static_cast<std::uint32_t>(length / 2)), u'\n');
    EXPECT_EQ(DOMImage_Unit(data, static_cast<std::uint32_t>(length - 1)), u'a');
}

// Whether `bytes` at `at` hold "</html" or "</body", in any case, then spaces
// and ">"; the length of that end tag, or 0.
std::size_t documentEndTagAt(const std::vector<std::uint8_t>& bytes, std::size_t at)
{
    if (at + 7 > bytes.size() || bytes[at] != '<' || bytes[at + 1] != '/') return 0;
    std::string name;
    for (std::size_t k = 2; k < 6; ++k) name += static_cast<char>(std::tolower(bytes[at + k]));
    if (name != "html" && name != "body") return 0;
    std::size_t end = at + 6;
    while (end < bytes.size() && (bytes[end] == ' ' || bytes[end] == '\n' || bytes[end] == '\t')) ++end;
    return end < bytes.size() && bytes[end] == '>' ? end + 1 - at : 0;
}

// Appends a document without its html and body end tags: those would close
// everything open, and what follows them would land after the body.
void appendWithoutDocumentEnd(std::string& text, const std::vector<std::uint8_t>& bytes)
{
    for (std::size_t at = 0; at < bytes.size();) {
        if (const std::size_t length = documentEndTagAt(bytes, at)) {
            at += length;
            continue;
        }
        text += static_cast<char>(bytes[at++]);
    }
}

bool declaresUtf8(const std::vector<std::uint8_t>& bytes)
{
    std::string head(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(
                                                        std::min<std::size_t>(bytes.size(), 2048)));
    for (char& character : head) character = static_cast<char>(std::tolower(character));
    return head.find("utf-8") != std::string::npos;
}

TEST(Stress, FiftyMegabyteDocumentFromTheCorpus)
{
    const std::vector<PaddedParse::Document> documents = PaddedParse::corpusDocuments();
    ASSERT_FALSE(documents.empty()) << "no corpus documents in " << PaddedParse::corpusFolder();
    // The UTF-8 documents of the corpus one after the other, in name order and
    // round again, until 50 MB: the first declares the encoding of the whole,
    // and each nests under what the ones before left open.
    const std::size_t target = (std::size_t{50} << 20) / kScale;
    std::string text;
    text.reserve(target + (std::size_t{2} << 20));
    std::size_t used = 0;
    while (text.size() < target) {
        for (const PaddedParse::Document& document : documents) {
            // The one document whose tree ends without body would leave none.
            if (document.name == "parse5-huge-page.html" || !declaresUtf8(document.bytes)) continue;
            appendWithoutDocumentEnd(text, document.bytes);
            ++used;
            if (text.size() >= target) break;
        }
        ASSERT_GT(used, 0u) << "no UTF-8 documents in the corpus";
    }
    const Outcome outcome = parseBoth(text);
    OpenImage image = open(outcome);
    ASSERT_TRUE(image);
    // Each of the documents brings some thousands of nodes.
    EXPECT_GT(DOMImage_NodeCount(image.get()), 1000 * used);
    std::printf("%zu bytes from %zu documents: %u nodes, %u attributes, %u strings, image of %u "
                "bytes\n",
                text.size(), used, DOMImage_NodeCount(image.get()),
                DOMImage_AttributeCount(image.get()), DOMImage_StringCount(image.get()),
                outcome.imageSize);
}

// --------------------------------------------------- truncation and damage

// The results a guarded parse of bytes may end with: an image, or one of the
// two ends of a parse that would not come back under DOM_Parse. (No input of
// bytes leaves a bare byte order mark here, and only no bytes at all give 2.)
bool isExpectedResult(std::uint32_t result, std::size_t size)
{
    if (size == 0) return result == DOM_RESULT_FAILED;
    return result == DOM_RESULT_OK || result == DOM_RESULT_NO_BODY ||
           result == DOM_RESULT_NEVER_ENDS;
}

struct Counts {
    std::size_t images = 0;
    std::size_t noBody = 0;
    std::size_t neverEnds = 0;
};

// One guarded parse; for an image, the reader must take it and DOM_Parse must
// give the same one.
void checkOne(const std::uint8_t* data, std::size_t size, const std::string& what, Counts& counts)
{
    const Outcome guarded = PaddedParse::run(DOM_ParseGuarded, data, size);
    ASSERT_TRUE(isExpectedResult(guarded.result, size)) << what << ": result " << guarded.result;
    if (guarded.result == DOM_RESULT_NO_BODY) ++counts.noBody;
    if (guarded.result == DOM_RESULT_NEVER_ENDS) ++counts.neverEnds;
    if (guarded.result != DOM_RESULT_OK) return;
    ++counts.images;
    ASSERT_TRUE(open(guarded)) << what;
    const Outcome faithful = PaddedParse::run(DOM_Parse, data, size);
    ASSERT_TRUE(guarded == faithful) << what << ": the images of the two libraries differ";
}

TEST(Stress, EveryTruncationOfCorpusDocuments)
{
    for (const char* name :
         {"rd-daringfireball-1.html", "rd-001.html", "parse5-cern.html"}) {
        const PaddedParse::Document document = PaddedParse::corpusDocument(name);
        ASSERT_FALSE(document.bytes.empty()) << "corpus document " << name << " is missing";
        Counts counts;
        for (std::size_t size = 0; size <= document.bytes.size(); size += kPrefixStride) {
            std::string what = name;
            what += " cut to ";
            what += std::to_string(size);
            checkOne(document.bytes.data(), size, what, counts);
            if (HasFatalFailure()) return;
        }
        // A prefix that ends in "<" never ends, and the whole document makes
        // an image.
        EXPECT_GT(counts.neverEnds, 0u) << name;
        EXPECT_GT(counts.images, 0u) << name;
        std::printf("%s: %zu prefixes with images, %zu without body, %zu never ending\n", name,
                    counts.images, counts.noBody, counts.neverEnds);
    }
}

TEST(Stress, RandomByteFlipsOfCorpusDocuments)
{
    const std::vector<PaddedParse::Document> documents = PaddedParse::corpusDocuments();
    ASSERT_FALSE(documents.empty()) << "no corpus documents in " << PaddedParse::corpusFolder();
    // A fixed seed: the same damage on every run.
    std::mt19937 random(20261121);
    Counts counts;
    for (const PaddedParse::Document& document : documents) {
        for (int copy = 0; copy < kDamagedCopies; ++copy) {
            std::vector<std::uint8_t> bytes = document.bytes;
            if (kScale > 1 && bytes.size() > (std::size_t{64} << 10)) bytes.resize(std::size_t{64} << 10);
            // From one flipped bit to 64 bytes set to anything.
            const int flips = 1 << (random() % 7);
            for (int flip = 0; flip < flips && !bytes.empty(); ++flip) {
                const std::size_t at = random() % bytes.size();
                bytes[at] = flip % 2 ? static_cast<std::uint8_t>(random())
                                     : static_cast<std::uint8_t>(bytes[at] ^ (1u << (random() % 8)));
            }
            std::string what = document.name;
            what += " damaged, copy ";
            what += std::to_string(copy);
            checkOne(bytes.data(), bytes.size(), what, counts);
            if (HasFatalFailure()) return;
        }
    }
    EXPECT_GT(counts.images, 0u);
    std::printf("%zu damaged documents with images, %zu without body, %zu never ending\n",
                counts.images, counts.noBody, counts.neverEnds);
}

}  // namespace
