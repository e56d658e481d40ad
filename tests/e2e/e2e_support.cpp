#include "e2e_support.h"

namespace E2e {

Outcome parse(const std::vector<std::uint8_t>& input, std::uint32_t inputKind,
              std::uint16_t recordVersion, bool describe)
{
    std::vector<std::uint8_t> buffer(input);
    buffer.resize(input.size() + DOM_INPUT_PADDING, 0);
    DOM_ParseRecord record{};
    record.version = recordVersion;
    record.inputKind = inputKind;
    record.result = 0;
    HGLOBAL handle = nullptr;

    Outcome outcome;
    outcome.result = DOM_Parse(buffer.data(), static_cast<std::uint32_t>(input.size()), &handle,
                               &record);
    if (outcome.result != DOM_RESULT_OK) return outcome;
    outcome.imageSize = record.result;

    const void* bytes = GlobalLock(handle);
    DOMImage* image = nullptr;
    char message[256];
    if (DOMImage_Open(bytes, record.result, &image, message, sizeof message) != 0) {
        outcome.tree = std::string("!! image refused: ") + message;
    } else {
        outcome.nodeCount = DOMImage_NodeCount(image);
        outcome.rootCount = DOMImage_RootCount(image);
        for (std::uint32_t position = 0; position < outcome.rootCount; ++position) {
            DOMImageNode root;
            DOMImage_GetNode(image, DOMImage_Root(image, position), &root);
            if (root.kind == DOM_IMAGE_TEXT) {
                outcome.roots += '"';
                outcome.roots += escapeUnits(ImageTreeText::Detail::stringAt(image, root.dataString));
                outcome.roots += "\" ";
            } else {
                outcome.roots += root.kind == DOM_IMAGE_ELEMENT ? "E " : "C ";
            }
        }
        if (describe) outcome.tree = treeText(image);
        DOMImage_Close(image);
    }
    GlobalUnlock(handle);
    GlobalFree(handle);
    return outcome;
}

}  // namespace E2e
