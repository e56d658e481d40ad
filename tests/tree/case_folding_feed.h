// Test support for the table, select, frameset and after modes: a case folding
// tree constructor fed by hand, whose reports are kept with the form they were
// sent in, and short views of its body and its stack.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tree_harness.h"

namespace Parsers::Testing {

// Keeps every report of the tree constructor (codes 107 and up) as one line:
//   "153 C x"    a character report with its unit (escaped as in dump)
//   "156 P"      a position report
//   "153 T div"  a report on a tag token: its name as a span
//   "109 X name" a report with a text
// A report on a doctype or comment token arrives as a position report.
class FormLog : public ErrorListener {
public:
    void reportCharacterError(ParseErrorCode code, char16_t unit, const TextPosition*) override
    {
        add(code, "C " + escapeText(std::u16string_view(&unit, 1)));
    }
    void reportTextError(ParseErrorCode code, const UString& text, const TextPosition*) override
    {
        add(code, "X " + escapeText(text));
    }
    void reportPositionError(ParseErrorCode code, const TextPosition*) override { add(code, "P"); }
    void reportSpanError(ParseErrorCode code, const char16_t* span, std::uint32_t length,
                         const TextPosition*) override
    {
        add(code, "T " + escapeText(std::u16string_view(span, length)));
    }

    std::vector<std::string> lines;

private:
    void add(ParseErrorCode code, const std::string& form)
    {
        const auto number = static_cast<std::uint32_t>(code);
        if (number >= 107) lines.push_back(std::to_string(number) + " " + form);
    }
};

using Reports = std::vector<std::string>;

// A case folding tree constructor without tokenizer. The first start tag fed
// makes html, head and body by the rules of the start modes; `enter` then puts
// the constructor into the mode under test, so that a test does not lean on
// the in body rules for getting there.
class CaseFoldingFeed {
public:
    CaseFoldingFeed() : feed(1), log(std::make_shared<FormLog>()), tree(*feed.constructor)
    {
        addErrorListener(feed.source, log);
    }

    // Feeds the start tags in order, then sets the mode and forgets the
    // reports so far. framesetOk is set again, as the start tags may have
    // cleared it.
    void enter(std::initializer_list<std::u16string> startTags, InsertionMode mode)
    {
        for (const std::u16string& name : startTags) feed.start(name);
        tree.insertionMode = mode;
        tree.framesetOk = true;
        log->lines.clear();
    }
    // A table in the body, in the in table mode; what follows it is fed
    // through the table modes.
    void openTable() { enter({u"table"}, InsertionMode::InTable); }
    void clearReports() { log->lines.clear(); }

    TagTokenRef start(const std::u16string& name, std::initializer_list<AttributeSpec> attributes = {},
                      bool selfClosing = false)
    {
        return feed.start(name, attributes, selfClosing);
    }
    TagTokenRef end(const std::u16string& name) { return feed.end(name); }
    void text(std::u16string_view units) { feed.text(units); }
    void comment(const std::u16string& data) { feed.comment(data); }
    void endOfFile() { feed.endOfFile(); }

    // The subtree of the body element, or of the document when there is no
    // body, with the namespace of HTML elements left out.
    std::string body() const
    {
        NodeRef bodyNode = tree.document->getBODYNode();
        return withoutHtmlNamespace(dump(bodyNode ? *bodyNode : *tree.document));
    }
    std::string document() const { return withoutHtmlNamespace(dump(*tree.document)); }
    std::string stack() const { return stackNames(tree); }
    const Reports& reports() const { return log->lines; }

    TreeFeed feed;
    std::shared_ptr<FormLog> log;
    TreeConstructor& tree;

private:
    static std::string withoutHtmlNamespace(std::string text)
    {
        const std::string marker = " ns=0";
        for (std::size_t at = text.find(marker); at != std::string::npos; at = text.find(marker, at)) {
            text.erase(at, marker.size());
        }
        return text;
    }
};

}  // namespace Parsers::Testing
