#include "bounds.h"

#include <cstring>
#include <functional>

namespace Parsers::Bench {

namespace {

// What a pass found, kept where the optimiser cannot drop the pass itself.
volatile std::size_t sink;

std::size_t countLessThanSigns(const std::vector<std::uint8_t>& bytes)
{
    std::size_t count = 0;
    const std::uint8_t* at = bytes.data();
    const std::uint8_t* end = at + bytes.size();
    while (at < end) {
        const void* found = std::memchr(at, '<', static_cast<std::size_t>(end - at));
        if (!found) break;
        ++count;
        at = static_cast<const std::uint8_t*>(found) + 1;
    }
    return count;
}

std::size_t validateUtf8(const std::vector<std::uint8_t>& bytes)
{
    return isUtf8(bytes.data(), bytes.size()) ? 1 : 0;
}

// Lead bytes give the length; continuation bytes add six bits each. Invalid
// input gives some units, as long as it is read within the bytes.
std::size_t decodeNaively(const std::vector<std::uint8_t>& bytes, std::vector<char16_t>& out)
{
    // Never more units than bytes; the buffer only grows, so that no round
    // pays for clearing it.
    if (out.size() < bytes.size()) out.resize(bytes.size());
    const std::uint8_t* at = bytes.data();
    const std::uint8_t* end = at + bytes.size();
    char16_t* written = out.data();
    while (at < end) {
        std::uint32_t unit = *at++;
        if (unit >= 0xC0) {
            int more = unit >= 0xF0 ? 3 : unit >= 0xE0 ? 2 : 1;
            unit &= 0x3Fu >> more;
            for (; more > 0 && at < end; --more) unit = (unit << 6) | (*at++ & 0x3Fu);
        }
        if (unit >= 0x10000) {
            unit -= 0x10000;
            *written++ = static_cast<char16_t>(0xD800 + (unit >> 10));
            unit = 0xDC00 + (unit & 0x3FF);
        }
        *written++ = static_cast<char16_t>(unit);
    }
    return static_cast<std::size_t>(written - out.data());
}

class PassWorkload : public Workload {
public:
    PassWorkload(const std::vector<CorpusDocument>& corpus, std::string name,
                 std::function<std::size_t(const std::vector<std::uint8_t>&)> pass)
        : documents(corpus), passName(std::move(name)), onePass(std::move(pass))
    {
    }
    std::string label() const override { return passName; }
    std::uint64_t bytesPerRound() const override { return totalBytes(documents); }
    double runRound() override
    {
        double seconds = 0.0;
        for (const auto& document : documents) {
            Clock::time_point start = Clock::now();
            sink = onePass(document.bytes);
            seconds += secondsBetween(start, Clock::now());
        }
        return seconds;
    }

private:
    const std::vector<CorpusDocument>& documents;
    std::string passName;
    std::function<std::size_t(const std::vector<std::uint8_t>&)> onePass;
};

}  // namespace

std::unique_ptr<Workload> makeLessThanScanWorkload(const std::vector<CorpusDocument>& documents)
{
    return std::make_unique<PassWorkload>(documents, "memchr for '<'", countLessThanSigns);
}

std::unique_ptr<Workload> makeUtf8ValidationWorkload(const std::vector<CorpusDocument>& documents)
{
    return std::make_unique<PassWorkload>(documents, "UTF-8 validation", validateUtf8);
}

std::unique_ptr<Workload> makeNaiveUtf16Workload(const std::vector<CorpusDocument>& documents)
{
    auto buffer = std::make_shared<std::vector<char16_t>>();
    return std::make_unique<PassWorkload>(
        documents, "naive UTF-8 to UTF-16",
        [buffer](const std::vector<std::uint8_t>& bytes) { return decodeNaively(bytes, *buffer); });
}

}  // namespace Parsers::Bench
