#include "parsers.h"

#include <gumbo.h>
#include <libxml/HTMLparser.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "domparse.h"
#include "domparse_reader.h"

namespace Parsers::Bench {

void copyPadded(const std::vector<std::uint8_t>& bytes, std::vector<std::uint8_t>& buffer)
{
    // Reserved first: growing by the padding alone would move the copy into
    // a block of twice its size, copying it twice and counting in a child's
    // peak memory.
    buffer.clear();
    buffer.reserve(bytes.size() + DOM_INPUT_PADDING);
    buffer.assign(bytes.begin(), bytes.end());
    buffer.resize(bytes.size() + DOM_INPUT_PADDING, 0);
}

namespace {

std::uint32_t callDomParse(std::vector<std::uint8_t>& buffer, std::size_t size, HGLOBAL& block,
                           DOM_ParseRecord& record)
{
    record = DOM_ParseRecord{DOM_RECORD_VERSION, DOM_INPUT_BYTES, 0};
    block = nullptr;
    return DOM_Parse(buffer.data(), static_cast<std::uint32_t>(size), &block, &record);
}

// The deepest element of an image, from the depths that the reader gives.
std::optional<std::size_t> imageDepth(HGLOBAL block, std::uint32_t size)
{
    const void* bytes = GlobalLock(block);
    DOMImage* image = nullptr;
    std::optional<std::size_t> deepest;
    if (bytes && DOMImage_Open(bytes, size, &image, nullptr, 0) == 0) {
        std::size_t depth = 0;
        for (std::uint32_t i = 0; i < DOMImage_NodeCount(image); ++i) {
            DOMImageNode node;
            if (DOMImage_GetNode(image, i, &node) == 1 && node.kind == DOM_IMAGE_ELEMENT) {
                depth = std::max<std::size_t>(depth, node.depth + 1);
            }
        }
        deepest = depth;
        DOMImage_Close(image);
    }
    GlobalUnlock(block);
    return deepest;
}

class DomParseParser : public Parser {
public:
    std::string name() const override { return "domparse"; }
    std::string calls() const override { return "DOM_Parse (libdomparse.so), GlobalFree"; }
    void prepare(const std::vector<std::uint8_t>& bytes) override { copyPadded(bytes, buffer); }
    bool parse(const std::vector<std::uint8_t>& bytes) override
    {
        HGLOBAL block;
        DOM_ParseRecord record;
        if (callDomParse(buffer, bytes.size(), block, record) != DOM_RESULT_OK) return false;
        GlobalFree(block);
        return true;
    }
    std::optional<std::size_t> parseForDepth(const std::vector<std::uint8_t>& bytes) override
    {
        prepare(bytes);
        HGLOBAL block;
        DOM_ParseRecord record;
        if (callDomParse(buffer, bytes.size(), block, record) != DOM_RESULT_OK) return std::nullopt;
        std::optional<std::size_t> depth = imageDepth(block, record.result);
        GlobalFree(block);
        return depth;
    }

private:
    std::vector<std::uint8_t> buffer;
};

// The children of a gumbo node that can have any.
const GumboVector* gumboChildren(const GumboNode* node)
{
    switch (node->type) {
    case GUMBO_NODE_DOCUMENT:
        return &node->v.document.children;
    case GUMBO_NODE_ELEMENT:
    case GUMBO_NODE_TEMPLATE:
        return &node->v.element.children;
    default:
        return nullptr;
    }
}

class GumboParser : public Parser {
public:
    std::string name() const override { return "gumbo"; }
    std::string calls() const override { return "gumbo_parse_with_options, gumbo_destroy_output"; }
    void prepare(const std::vector<std::uint8_t>&) override {}
    bool parse(const std::vector<std::uint8_t>& bytes) override
    {
        GumboOutput* output = parseBytes(bytes);
        if (!output) return false;
        gumbo_destroy_output(&kGumboDefaultOptions, output);
        return true;
    }
    std::optional<std::size_t> parseForDepth(const std::vector<std::uint8_t>& bytes) override
    {
        GumboOutput* output = parseBytes(bytes);
        if (!output) return std::nullopt;
        // An explicit stack of (node, depth): the tree may be far deeper than
        // the call stack allows.
        std::size_t deepest = 0;
        std::vector<std::pair<const GumboNode*, std::size_t>> pending{{output->document, 0}};
        while (!pending.empty()) {
            auto [node, depth] = pending.back();
            pending.pop_back();
            if (node->type == GUMBO_NODE_ELEMENT || node->type == GUMBO_NODE_TEMPLATE) {
                deepest = std::max(deepest, depth);
            }
            if (const GumboVector* children = gumboChildren(node)) {
                for (unsigned int i = 0; i < children->length; ++i) {
                    pending.emplace_back(static_cast<const GumboNode*>(children->data[i]), depth + 1);
                }
            }
        }
        gumbo_destroy_output(&kGumboDefaultOptions, output);
        return deepest;
    }

private:
    static GumboOutput* parseBytes(const std::vector<std::uint8_t>& bytes)
    {
        return gumbo_parse_with_options(&kGumboDefaultOptions,
                                        reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }
};

// libxml2 reports through global handlers even with its reports turned off in
// the options for some failures (an encoding it cannot convert, say); the
// benchmark wants none of them on its terminal.
void ignoreGenericError(void*, const char*, ...) {}
void ignoreStructuredError(void*, xmlErrorPtr) {}

class Libxml2Parser : public Parser {
public:
    Libxml2Parser()
    {
        xmlInitParser();
        xmlSetGenericErrorFunc(nullptr, ignoreGenericError);
        xmlSetStructuredErrorFunc(nullptr, ignoreStructuredError);
    }
    std::string name() const override { return "libxml2"; }
    std::string calls() const override { return "htmlReadMemory, xmlFreeDoc"; }
    void prepare(const std::vector<std::uint8_t>&) override {}
    bool parse(const std::vector<std::uint8_t>& bytes) override
    {
        htmlDocPtr document = parseBytes(bytes);
        if (!document) return false;
        xmlFreeDoc(document);
        return true;
    }
    std::optional<std::size_t> parseForDepth(const std::vector<std::uint8_t>& bytes) override
    {
        htmlDocPtr document = parseBytes(bytes);
        if (!document) return std::nullopt;
        // A walk along the parent and sibling links, without recursion.
        std::size_t deepest = 0;
        std::size_t depth = 1;
        xmlNodePtr node = document->children;
        while (node) {
            if (node->type == XML_ELEMENT_NODE) deepest = std::max(deepest, depth);
            if (node->children) {
                node = node->children;
                ++depth;
                continue;
            }
            while (node && !node->next) {
                node = --depth == 0 ? nullptr : node->parent;
            }
            if (node) node = node->next;
        }
        xmlFreeDoc(document);
        return deepest;
    }

private:
    static constexpr int kOptions = HTML_PARSE_RECOVER | HTML_PARSE_NONET | HTML_PARSE_NOERROR |
                                    HTML_PARSE_NOWARNING | XML_PARSE_HUGE;

    static htmlDocPtr parseBytes(const std::vector<std::uint8_t>& bytes)
    {
        return htmlReadMemory(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()),
                              nullptr, nullptr, kOptions);
    }
};

}  // namespace

std::unique_ptr<Parser> makeDomParseParser()
{
    return std::make_unique<DomParseParser>();
}

std::unique_ptr<Parser> makeGumboParser()
{
    return std::make_unique<GumboParser>();
}

std::unique_ptr<Parser> makeLibxml2Parser()
{
    return std::make_unique<Libxml2Parser>();
}

DomParseResult parseWithDomParse(const std::vector<std::uint8_t>& bytes)
{
    std::vector<std::uint8_t> buffer;
    copyPadded(bytes, buffer);
    HGLOBAL block;
    DOM_ParseRecord record;
    DomParseResult result;
    result.resultCode = callDomParse(buffer, bytes.size(), block, record);
    if (result.resultCode == DOM_RESULT_OK) {
        const auto* image = static_cast<const std::uint8_t*>(GlobalLock(block));
        if (image) result.image.assign(image, image + record.result);
        GlobalUnlock(block);
        GlobalFree(block);
    }
    return result;
}

std::uint32_t parseWithDomParseAndRelease(const std::vector<std::uint8_t>& bytes)
{
    std::vector<std::uint8_t> buffer;
    copyPadded(bytes, buffer);
    HGLOBAL block;
    DOM_ParseRecord record;
    std::uint32_t resultCode = callDomParse(buffer, bytes.size(), block, record);
    if (resultCode == DOM_RESULT_OK) GlobalFree(block);
    return resultCode;
}

bool blockFunctionsAreTheLibrarys()
{
    std::vector<std::uint8_t> bytes{'<', 'p', '>', 'x'};
    std::vector<std::uint8_t> buffer;
    copyPadded(bytes, buffer);
    HGLOBAL block;
    DOM_ParseRecord record;
    if (callDomParse(buffer, bytes.size(), block, record) != DOM_RESULT_OK) return false;
    // A registry of blocks other than the library's would not know the handle.
    bool known = GlobalSize(block) >= record.result;
    GlobalFree(block);
    return known;
}

}  // namespace Parsers::Bench
