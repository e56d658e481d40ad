#include "tokenizer_run.h"

namespace Parsers::Testing {

TokenizerRun::TokenizerRun(std::u16string_view input, std::uint32_t mode, std::size_t padding)
    : buffer(input), recorder(std::make_shared<Recorder>())
{
    buffer.append(padding, u'\0');
    source.text = buffer.data();
    source.textLength = static_cast<std::uint32_t>(input.size());
    source.parseMode = mode;
    addErrorListener(source, recorder);
    tokenizer = std::make_unique<Tokenizer>(&source);
    tokenizer->addReceiver(recorder);
}

bool TokenizerRun::runToEnd(std::size_t stepLimit)
{
    for (std::size_t steps = 0; !tokenizer->atEndOfInput(); ++steps) {
        if (steps == stepLimit) return false;
        tokenizer->step();
    }
    return true;
}

void TokenizerRun::runSteps(std::size_t count)
{
    for (std::size_t steps = 0; steps < count; ++steps) tokenizer->step();
}

void TokenizerRun::enterOnStartTag(std::u16string name, TokenizerState target,
                                   bool plainTransition, bool dropLineFeed)
{
    rawTextRules.push_back({std::move(name), target, plainTransition, dropLineFeed});
    recorder->onToken = [this](const TokenRef& token) {
        if (token->type != TokenType::StartTag) return;
        const auto& tag = static_cast<const TagToken&>(*token);
        for (const RawTextRule& rule : rawTextRules) {
            if (rule.name != tag.name) continue;
            if (rule.plainTransition) {
                tokenizer->previousState = tokenizer->state;
                tokenizer->state = rule.target;
            } else {
                tokenizer->switchTo(rule.target);
            }
            CharacterStream& stream = *tokenizer->stream;
            if (rule.dropLineFeed && stream.remaining != 0 && stream.peekUnit() == u'\n') {
                stream.consume();
            }
        }
    };
}

Events tokenize(std::u16string_view input, std::uint32_t mode)
{
    TokenizerRun run(input, mode);
    if (!run.runToEnd()) return {"NO END"};
    return run.recorder->compact();
}

Events tokenizeFull(std::u16string_view input, std::uint32_t mode)
{
    TokenizerRun run(input, mode);
    if (!run.runToEnd()) return {"NO END"};
    return run.recorder->full();
}

}  // namespace Parsers::Testing
