// Fuzz target: the input stage on its own, through the guarded core. The
// first byte chooses what runs on the rest:
// - below 0x80, the whole input preparation: byte order marks, the meta
//   prescan, the default decoder and the line-end pass, in the case
//   preserving mode (or, with bit 0 set, the case folding mode with its
//   control filter);
// - from 0x80 on, one decoder: the code page of a charset table row, chosen
//   by the byte, without a fallback.
// Either way the text that comes out is read to its end and checked against
// the promises of the stage: zero behind decoded text, no more units than
// bytes, line ends normalised.
#include <cstddef>
#include <cstdint>

#include "encoding/charset_table.h"
#include "encoding/decoding.h"
#include "fuzz_support.h"
#include "library/prepare_input.h"
#include "library/shared_types.h"
#include "library/source_buffer.h"
#include "tokenizer/tokenizer.h"

namespace {

using namespace Parsers;

void checkNormalisedText(const SourceBuffer& source)
{
    DomparseFuzz::check(source.text != nullptr, "no text and no exception");
    for (std::uint32_t index = 0; index < source.textLength; ++index) {
        DomparseFuzz::check(source.text[index] != u'\r', "a carriage return left in the text",
                            index);
    }
}

void runInputPreparation(SourceBuffer& source)
{
    try {
        prepareInput(source);
    } catch (int thrown) {
        // No text could be made: only when there are no bytes at all.
        DomparseFuzz::check(thrown == kNoTextThrown, "an unknown integer thrown", thrown);
        DomparseFuzz::check(source.rawSize == 0, "no text from bytes", source.rawSize);
        return;
    } catch (unsigned short code) {
        // The guarded end of a byte order mark with no text behind it.
        DomparseFuzz::check(code == 6, "an unexpected guarded code", code);
        return;
    }
    checkNormalisedText(source);
}

void runOneDecoder(SourceBuffer& source, std::uint8_t selector)
{
    const CharsetRow* row = charsetRowByNumber(selector % kCharsetRowCount);
    DomparseFuzz::check(row != nullptr, "a charset row missing", selector);
    selectCodePage(source, row->codePage, 0);
    if (source.text == nullptr) {
        // A failed decoding leaves nothing behind.
        DomparseFuzz::check(source.decodedText.empty(), "decoded text after a failure");
        return;
    }
    DomparseFuzz::check(source.text == source.decodedText.data(), "text outside its buffer");
    DomparseFuzz::check(source.textLength <= source.rawSize, "more units than bytes",
                        source.textLength);
    DomparseFuzz::check(source.text[source.textLength] == 0, "no zero behind the text");
    DomparseFuzz::check(source.codePage == kUtf16CodePage, "code page not 1200",
                        static_cast<unsigned long>(source.codePage));
}

}  // namespace

using namespace DomparseFuzz;

DOMPARSE_FUZZ_TARGET(DomparseFuzz::fuzzPrescanDecode)
{
    if (size == 0) return 0;
    const std::uint8_t selector = data[0];
    ++data;
    --size;
    if (size > kMaxInputSize) size = kMaxInputSize;
    std::vector<std::uint8_t> buffer = paddedCopy(data, size);
    Parsers::SourceBuffer source;
    source.rawBytes = buffer.data();
    source.rawSize = static_cast<std::uint32_t>(size);
    if (selector < 0x80) {
        source.parseMode = (selector & 1) ? Parsers::kCaseFoldingMode : Parsers::kCasePreservingMode;
        runInputPreparation(source);
    } else {
        source.parseMode = Parsers::kCasePreservingMode;
        runOneDecoder(source, selector);
    }
    return 0;
}
