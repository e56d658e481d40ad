// The stages of a parse measured on their own, through the library's internal
// functions (the static core) over the same documents as the whole parse:
// decoding (input preparation), tokenizing into a receiver that discards every
// token, tree construction (tokenizer and tree constructor, the tidying and
// the release of the tree), and writing the image of a finished tree.
#pragma once

#include <memory>
#include <vector>

#include "corpus.h"
#include "measure.h"

namespace Parsers::Bench {

// The documents decoded once, for the stages that start from the text.
class DecodedCorpus;

std::shared_ptr<DecodedCorpus> decodeCorpus(const std::vector<CorpusDocument>& documents);

// Input preparation from the bytes to the text, and its release.
std::unique_ptr<Workload> makeDecodingWorkload(const std::vector<CorpusDocument>& documents);
// The tokenizer over the decoded text, its tokens going to a receiver that
// drops them.
std::unique_ptr<Workload> makeTokenizingWorkload(std::shared_ptr<DecodedCorpus> corpus);
// Tokenizer and tree constructor over the decoded text, the tidying of the
// finished tree, and its release: all of a parse but decoding and the image.
std::unique_ptr<Workload> makeTreeWorkload(std::shared_ptr<DecodedCorpus> corpus);

// Image writing over finished trees, built once for all documents when made.
class ImageWorkload : public Workload {
public:
    virtual ~ImageWorkload() = default;
    // How many of the documents give the same image bytes through the stages
    // as through DOM_Parse: all of them, when the stages do what a parse does.
    virtual std::size_t imagesMatchingDomParse(const std::vector<CorpusDocument>& documents) = 0;
};
std::unique_ptr<ImageWorkload> makeImageWorkload(std::shared_ptr<DecodedCorpus> corpus);

}  // namespace Parsers::Bench
