#include "stages.h"

#include <cstring>

#include "domparse.h"
#include "dom/node.h"
#include "image/image_writer.h"
#include "library/parse_document.h"
#include "library/prepare_input.h"
#include "library/source_buffer.h"
#include "parsers.h"
#include "tokenizer/tokenizer.h"
#include "tree/tree_constructor.h"

namespace Parsers::Bench {

namespace {

// A source record over the caller's buffer, as the parse driver fills it in
// before input preparation.
void startSource(SourceBuffer& source, std::vector<std::uint8_t>& buffer, std::size_t size)
{
    source.rawBytes = buffer.data();
    source.rawSize = static_cast<std::uint32_t>(size);
    source.parseMode = kCasePreservingMode;
}

// Takes every token and unit and keeps nothing. It takes text in runs, as the
// tree constructor does for nearly all the text of a document, so that the
// stage measures the tokenizer as a parse runs it.
class DiscardingReceiver : public TokenReceiver, public CharacterRunReceiver {
public:
    void processCharacter(char16_t, const TextPosition*) override {}
    void processToken(TokenRef) override {}
    bool acceptsCharacterRun() override { return true; }
    void processCharacterRun(const char16_t*, std::uint32_t) override {}
};

// Tokenizer and tree constructor over a prepared source, wired and run as the
// parse driver does; the tidied document comes back.
Ref<Document> buildTree(SourceBuffer& source)
{
    Tokenizer tokenizer(&source);
    auto treeConstructor = std::make_shared<TreeConstructor>(&source, &tokenizer, source.parseMode);
    tokenizer.treeConstructor = treeConstructor.get();
    tokenizer.addReceiver(treeConstructor);
    while (!tokenizer.atEndOfInput()) tokenizer.step();
    Ref<Document> document = treeConstructor->document;
    liftBodyContent(*document);
    treeConstructor.reset();
    return document;
}

class DecodingWorkload : public Workload {
public:
    explicit DecodingWorkload(const std::vector<CorpusDocument>& corpus) : documents(corpus) {}
    std::string label() const override { return "decode (prepareInput)"; }
    std::uint64_t bytesPerRound() const override { return totalBytes(documents); }
    double runRound() override
    {
        double seconds = 0.0;
        for (const auto& document : documents) {
            copyPadded(document.bytes, buffer);
            Clock::time_point start = Clock::now();
            {
                SourceBuffer source;
                startSource(source, buffer, document.bytes.size());
                prepareInput(source);
            }
            seconds += secondsBetween(start, Clock::now());
        }
        return seconds;
    }

private:
    const std::vector<CorpusDocument>& documents;
    std::vector<std::uint8_t> buffer;
};

}  // namespace

class DecodedCorpus {
public:
    explicit DecodedCorpus(const std::vector<CorpusDocument>& documents)
    {
        for (const auto& document : documents) {
            bytes += document.bytes.size();
            buffers.emplace_back();
            copyPadded(document.bytes, buffers.back());
            sources.push_back(std::make_unique<SourceBuffer>());
            startSource(*sources.back(), buffers.back(), document.bytes.size());
            prepareInput(*sources.back());
        }
    }

    std::uint64_t bytes = 0;
    // The caller's buffers stay: UTF-16 text would be read where it lies.
    std::vector<std::vector<std::uint8_t>> buffers;
    std::vector<std::unique_ptr<SourceBuffer>> sources;
};

std::shared_ptr<DecodedCorpus> decodeCorpus(const std::vector<CorpusDocument>& documents)
{
    return std::make_shared<DecodedCorpus>(documents);
}

namespace {

class TokenizingWorkload : public Workload {
public:
    explicit TokenizingWorkload(std::shared_ptr<DecodedCorpus> decoded)
        : corpus(std::move(decoded)), receiver(std::make_shared<DiscardingReceiver>())
    {
    }
    std::string label() const override { return "tokenize into a discarding receiver"; }
    std::uint64_t bytesPerRound() const override { return corpus->bytes; }
    double runRound() override
    {
        double seconds = 0.0;
        for (auto& source : corpus->sources) {
            Clock::time_point start = Clock::now();
            {
                Tokenizer tokenizer(source.get());
                tokenizer.addReceiver(receiver);
                while (!tokenizer.atEndOfInput()) tokenizer.step();
            }
            seconds += secondsBetween(start, Clock::now());
        }
        return seconds;
    }

private:
    std::shared_ptr<DecodedCorpus> corpus;
    std::shared_ptr<DiscardingReceiver> receiver;
};

class TreeWorkload : public Workload {
public:
    explicit TreeWorkload(std::shared_ptr<DecodedCorpus> decoded) : corpus(std::move(decoded)) {}
    std::string label() const override { return "tokenize + tree construction"; }
    std::uint64_t bytesPerRound() const override { return corpus->bytes; }
    double runRound() override
    {
        double seconds = 0.0;
        for (auto& source : corpus->sources) {
            Clock::time_point start = Clock::now();
            buildTree(*source).reset();
            seconds += secondsBetween(start, Clock::now());
        }
        return seconds;
    }

private:
    std::shared_ptr<DecodedCorpus> corpus;
};

class ImageWritingWorkload : public ImageWorkload {
public:
    explicit ImageWritingWorkload(std::shared_ptr<DecodedCorpus> decoded) : corpus(std::move(decoded))
    {
        for (auto& source : corpus->sources) trees.push_back(buildTree(*source));
    }
    std::string label() const override { return "image writing (writeDocumentImage)"; }
    std::uint64_t bytesPerRound() const override { return corpus->bytes; }
    double runRound() override
    {
        double seconds = 0.0;
        for (auto& tree : trees) {
            Clock::time_point start = Clock::now();
            HGLOBAL block = nullptr;
            writeDocumentImage(*tree, &block);
            GlobalFree(block);
            seconds += secondsBetween(start, Clock::now());
        }
        return seconds;
    }
    std::size_t imagesMatchingDomParse(const std::vector<CorpusDocument>& documents) override
    {
        std::size_t matching = 0;
        for (std::size_t i = 0; i < trees.size() && i < documents.size(); ++i) {
            HGLOBAL block = nullptr;
            std::uint32_t size = writeDocumentImage(*trees[i], &block);
            const auto* image = static_cast<const std::uint8_t*>(GlobalLock(block));
            DomParseResult expected = parseWithDomParse(documents[i].bytes);
            if (image && expected.resultCode == DOM_RESULT_OK && expected.image.size() == size &&
                std::memcmp(expected.image.data(), image, size) == 0) {
                ++matching;
            }
            GlobalUnlock(block);
            GlobalFree(block);
        }
        return matching;
    }

private:
    std::shared_ptr<DecodedCorpus> corpus;
    std::vector<Ref<Document>> trees;
};

}  // namespace

std::unique_ptr<Workload> makeDecodingWorkload(const std::vector<CorpusDocument>& documents)
{
    return std::make_unique<DecodingWorkload>(documents);
}

std::unique_ptr<Workload> makeTokenizingWorkload(std::shared_ptr<DecodedCorpus> corpus)
{
    return std::make_unique<TokenizingWorkload>(std::move(corpus));
}

std::unique_ptr<Workload> makeTreeWorkload(std::shared_ptr<DecodedCorpus> corpus)
{
    return std::make_unique<TreeWorkload>(std::move(corpus));
}

std::unique_ptr<ImageWorkload> makeImageWorkload(std::shared_ptr<DecodedCorpus> corpus)
{
    return std::make_unique<ImageWritingWorkload>(std::move(corpus));
}

}  // namespace Parsers::Bench
