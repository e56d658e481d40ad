// The complete check of a document image before anyone reads it.
//
// The checks run in an order where each one may rely on the ones before it:
// the header first, then the node table walked record by record, the attribute
// table, the string table, then every index a record holds, and last the shape
// of the tree. So, for example, the reference checks may read any field of any
// record without a bounds test, because the structure checks have proved that
// every record lies inside the image.
//
// Nothing here recurses, and every loop is bounded by the counts in the header,
// which are themselves bounded by the image size before anything is allocated.

#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <string>

#include "dom/names.h"
#include "reader_layout.h"

namespace Parsers {

namespace {

using namespace ReaderLayout;

// How a string index field may be filled.
enum class StringRule {
    Required,          // always a string, the empty string included
    AbsentAllowed,     // a string or absent
    AbsentWhenEmpty,   // absent, or a string that is not empty
};

// A place in the image that a message names: "node 3", "attribute 2", or
// "node 3: declaration 1". Formatted only when a check fails.
struct Place {
    const char* kind;
    std::uint32_t index;
    const char* part = nullptr;
    std::uint32_t partIndex = 0;
};

class ImageValidator {
public:
    explicit ImageValidator(DOMImage& target) : image(target), bytes(target.bytes) {}

    std::string run()
    {
        if (!checkHeader() || !walkNodeTable() || !checkAttributeRecords() ||
            !walkStringTable() || !checkNodeReferences() || !checkAttributeStrings() ||
            !checkEveryChildHasParent() || !checkDocumentOrder()) {
            return message;
        }
        computeDepthsAndSubtrees();
        return std::string();
    }

private:
    // Records the reason for refusing the image; returns false so that a check
    // can end with `return refuse(...)`.
    __attribute__((format(printf, 2, 3))) bool refuse(const char* format, ...)
    {
        char buffer[256];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(buffer, sizeof buffer, format, arguments);
        va_end(arguments);
        message = buffer;
        return false;
    }

    std::string describe(const Place& place) const
    {
        std::string text = place.kind;
        text += ' ';
        text += std::to_string(place.index);
        if (place.part) {
            text += ": ";
            text += place.part;
            text += ' ';
            text += std::to_string(place.partIndex);
        }
        return text;
    }

    std::uint32_t field(std::uint32_t offset) const { return readU32(bytes, offset); }
    std::uint32_t nodeField(std::uint32_t node, std::uint32_t offset) const
    {
        return readU32(bytes, image.nodes[node].offset + offset);
    }
    std::uint32_t nodeKind(std::uint32_t node) const
    {
        return readU16(bytes, image.nodes[node].offset + kRecordKindField);
    }

    bool checkHeader();
    bool walkNodeTable();
    bool checkNodeRecord(std::uint32_t index, std::uint32_t offset);
    bool checkCharacterDataRecord(std::uint32_t index, std::uint32_t offset,
                                  std::uint32_t recordSize);
    bool checkElementRecord(std::uint32_t index, std::uint32_t offset, std::uint32_t recordSize);
    bool checkRecordFits(std::uint32_t index, std::uint32_t offset, std::uint32_t recordSize);
    bool checkAttributeRecords();
    bool walkStringTable();
    bool checkNodeReferences();
    bool checkElementReferences(std::uint32_t index);
    bool checkChildren(std::uint32_t index);
    bool checkAttributeStrings();
    bool checkString(const Place& place, const char* name, std::uint32_t value,
                     StringRule rule);
    bool checkEveryChildHasParent();
    bool checkDocumentOrder();
    void computeDepthsAndSubtrees();

    DOMImage& image;
    const unsigned char* bytes;
    std::string message;
    // Entries of all attribute lists so far. Their sum equals the attribute
    // table's count: the writer makes one record per element and attribute.
    std::uint32_t listedAttributes = 0;
};

bool ImageValidator::checkHeader()
{
    const std::uint32_t size = image.size;
    if (size < kHeaderSize) {
        return refuse("image of %" PRIu32 " bytes is shorter than its 26-byte header", size);
    }
    const std::uint32_t version = readU16(bytes, kImageVersionField);
    if (version != DOM_IMAGE_VERSION) {
        return refuse("header: image version %" PRIu32 " is not 200", version);
    }
    const std::uint32_t nodeTableOffset = field(kNodeTableOffsetField);
    if (nodeTableOffset != kHeaderSize) {
        return refuse("header: node table offset %" PRIu32 " is not 26", nodeTableOffset);
    }
    image.nodeCount = field(kNodeCountField);
    image.attributeCount = field(kAttributeCountField);
    image.attributeTableOffset = field(kAttributeTableOffsetField);
    image.stringCount = field(kStringCountField);
    image.stringTableOffset = field(kStringTableOffsetField);

    const std::uint32_t attributeTable = image.attributeTableOffset;
    if (attributeTable < kHeaderSize || attributeTable > size) {
        return refuse("header: attribute table offset %" PRIu32
                      " is outside 26 to the image size %" PRIu32,
                      attributeTable, size);
    }
    // The smallest node record is 30 bytes; this bound keeps the node list
    // that the reader allocates below the image size.
    const std::uint32_t nodeTableSize = attributeTable - kHeaderSize;
    if (image.nodeCount > nodeTableSize / kCharacterDataRecordSize) {
        return refuse("header: node count %" PRIu32 " does not fit in a node table of %" PRIu32
                      " bytes",
                      image.nodeCount, nodeTableSize);
    }
    const std::uint64_t expectedStringTable =
        attributeTable + std::uint64_t{kAttributeRecordSize} * image.attributeCount;
    if (image.stringTableOffset != expectedStringTable) {
        return refuse("header: string table offset %" PRIu32
                      " is not the attribute table offset plus 24 x %" PRIu32
                      " attributes (%" PRIu64 ")",
                      image.stringTableOffset, image.attributeCount, expectedStringTable);
    }
    if (image.stringTableOffset > size) {
        return refuse("header: the attribute table of %" PRIu32
                      " attributes runs past the end of the image (%" PRIu32 " bytes)",
                      image.attributeCount, size);
    }
    // Every string takes at least its 2-byte terminator.
    const std::uint32_t stringTableSize = size - image.stringTableOffset;
    if (image.stringCount > stringTableSize / 2) {
        return refuse("header: string count %" PRIu32 " does not fit in a string table of %" PRIu32
                      " bytes",
                      image.stringCount, stringTableSize);
    }
    return true;
}

bool ImageValidator::walkNodeTable()
{
    // The header has bounded nodeCount by the node table's size, so this
    // allocation is never larger than a fraction of the image.
    image.nodes.resize(image.nodeCount);
    std::uint32_t offset = kHeaderSize;
    for (std::uint32_t index = 0; index < image.nodeCount; ++index) {
        if (!checkNodeRecord(index, offset)) return false;
        image.nodes[index].offset = offset;
        offset += field(offset + kRecordSizeField);
    }
    // Too few records leave bytes in the table that no record owns; too many
    // would have failed above on a record running past the table.
    if (offset != image.attributeTableOffset) {
        return refuse("node table: %" PRIu32 " records end at offset %" PRIu32
                      ", not at the attribute table offset %" PRIu32,
                      image.nodeCount, offset, image.attributeTableOffset);
    }
    return true;
}

// Checks the record of node `index` at `offset` up to its own bytes; what its
// indices point at is checked later.
bool ImageValidator::checkNodeRecord(std::uint32_t index, std::uint32_t offset)
{
    // The head is read before the record size is known to be sane, so its 22
    // bytes must fit first.
    if (image.attributeTableOffset - offset < kNodeHeadSize) {
        return refuse("node %" PRIu32 " at offset %" PRIu32
                      ": the record head runs past the end of the node table (offset %" PRIu32 ")",
                      index, offset, image.attributeTableOffset);
    }
    const std::uint32_t recordSize = field(offset + kRecordSizeField);
    const std::uint32_t kind = readU16(bytes, offset + kRecordKindField);
    const std::uint32_t isTopLevel = field(offset + kIsTopLevelField);
    const std::uint32_t payloadOffset = field(offset + kPayloadOffsetField);
    if (kind < DOM_IMAGE_ELEMENT || kind > DOM_IMAGE_COMMENT) {
        return refuse("node %" PRIu32 ": record kind %" PRIu32
                      " is not 1 (element), 2 (text) or 3 (comment)",
                      index, kind);
    }
    if (isTopLevel > 1) {
        return refuse("node %" PRIu32 ": top-level flag %" PRIu32 " is not 0 or 1", index,
                      isTopLevel);
    }
    if (payloadOffset != kNodeHeadSize) {
        return refuse("node %" PRIu32 ": payload offset %" PRIu32 " is not 22", index,
                      payloadOffset);
    }
    // The kind decides which sizes are right; the size is checked against the
    // table's end only after that, so the message names the more basic fault.
    if (kind == DOM_IMAGE_ELEMENT) return checkElementRecord(index, offset, recordSize);
    return checkCharacterDataRecord(index, offset, recordSize);
}

bool ImageValidator::checkRecordFits(std::uint32_t index, std::uint32_t offset,
                                     std::uint32_t recordSize)
{
    if (recordSize > image.attributeTableOffset - offset) {
        return refuse("node %" PRIu32 " at offset %" PRIu32 ": record size %" PRIu32
                      " runs past the end of the node table (offset %" PRIu32 ")",
                      index, offset, recordSize, image.attributeTableOffset);
    }
    return true;
}

bool ImageValidator::checkCharacterDataRecord(std::uint32_t index, std::uint32_t offset,
                                              std::uint32_t recordSize)
{
    const char* kindName =
        readU16(bytes, offset + kRecordKindField) == DOM_IMAGE_TEXT ? "text" : "comment";
    if (recordSize != kCharacterDataRecordSize) {
        return refuse("node %" PRIu32 ": record size %" PRIu32 " is not 30 for a %s record",
                      index, recordSize, kindName);
    }
    if (!checkRecordFits(index, offset, recordSize)) return false;
    const std::uint32_t payloadSize = field(offset + kPayloadSizeField);
    if (payloadSize != kCharacterDataPayloadSize) {
        return refuse("node %" PRIu32 ": payload size %" PRIu32 " is not 8 for a %s record",
                      index, payloadSize, kindName);
    }
    const std::uint32_t childCount = field(offset + kChildCountField);
    if (childCount != 0) {
        return refuse("node %" PRIu32 ": a %s record has child count %" PRIu32 ", not 0", index,
                      kindName, childCount);
    }
    const std::uint32_t childListOffset = field(offset + kChildListOffsetField);
    if (childListOffset != 0) {
        return refuse("node %" PRIu32 ": a %s record has child list offset %" PRIu32 ", not 0",
                      index, kindName, childListOffset);
    }
    return true;
}

bool ImageValidator::checkElementRecord(std::uint32_t index, std::uint32_t offset,
                                        std::uint32_t recordSize)
{
    if (recordSize < kElementHeadSize) {
        return refuse("node %" PRIu32 ": record size %" PRIu32
                      " is less than the 58 bytes of an element record",
                      index, recordSize);
    }
    if (!checkRecordFits(index, offset, recordSize)) return false;
    const std::uint32_t payloadSize = field(offset + kPayloadSizeField);
    const std::uint32_t attributeCount = field(offset + kAttributeCountOfElementField);
    const std::uint32_t declarationCount = field(offset + kDeclarationCountField);
    const std::uint32_t childCount = field(offset + kChildCountField);
    // Counts come from the image and may be anything: the sums are taken in
    // 64 bits so that no count can wrap around into a plausible size.
    const std::uint64_t expectedPayload = kElementPayloadHeadSize +
                                          std::uint64_t{4} * attributeCount +
                                          std::uint64_t{kDeclarationEntrySize} * declarationCount;
    if (payloadSize != expectedPayload) {
        return refuse("node %" PRIu32 ": payload size %" PRIu32 " is not 36 + 4 x %" PRIu32
                      " attributes + 12 x %" PRIu32 " declarations (%" PRIu64 ")",
                      index, payloadSize, attributeCount, declarationCount, expectedPayload);
    }
    const std::uint64_t expectedRecord =
        kNodeHeadSize + std::uint64_t{payloadSize} + std::uint64_t{4} * childCount;
    if (recordSize != expectedRecord) {
        return refuse("node %" PRIu32 ": record size %" PRIu32 " is not 22 + payload size %" PRIu32
                      " + 4 x %" PRIu32 " children (%" PRIu64 ")",
                      index, recordSize, payloadSize, childCount, expectedRecord);
    }
    // The list offsets are written only for lists that have entries.
    const std::uint32_t attributeListOffset = field(offset + kAttributeListOffsetField);
    const std::uint32_t expectedAttributeList = attributeCount ? kElementPayloadHeadSize : 0;
    if (attributeListOffset != expectedAttributeList) {
        return refuse("node %" PRIu32 ": attribute list offset %" PRIu32 " is not %" PRIu32,
                      index, attributeListOffset, expectedAttributeList);
    }
    const std::uint32_t declarationListOffset = field(offset + kDeclarationListOffsetField);
    const std::uint32_t expectedDeclarationList =
        declarationCount ? kElementPayloadHeadSize + 4 * attributeCount : 0;
    if (declarationListOffset != expectedDeclarationList) {
        return refuse("node %" PRIu32 ": declaration list offset %" PRIu32 " is not %" PRIu32,
                      index, declarationListOffset, expectedDeclarationList);
    }
    const std::uint32_t childListOffset = field(offset + kChildListOffsetField);
    const std::uint32_t expectedChildList = childCount ? kNodeHeadSize + payloadSize : 0;
    if (childListOffset != expectedChildList) {
        return refuse("node %" PRIu32 ": child list offset %" PRIu32 " is not %" PRIu32, index,
                      childListOffset, expectedChildList);
    }
    // The sizes above prove that the declaration entries lie inside the record.
    const std::uint32_t declarations = offset + kElementHeadSize + 4 * attributeCount;
    for (std::uint32_t entry = 0; entry < declarationCount; ++entry) {
        const std::uint32_t entrySize = field(declarations + entry * kDeclarationEntrySize);
        if (entrySize != kDeclarationEntrySize) {
            return refuse("node %" PRIu32 ": declaration %" PRIu32 " has entry size %" PRIu32
                          ", not 12",
                          index, entry, entrySize);
        }
    }
    return true;
}

bool ImageValidator::checkAttributeRecords()
{
    for (std::uint32_t index = 0; index < image.attributeCount; ++index) {
        const std::uint32_t offset = image.attributeTableOffset + index * kAttributeRecordSize;
        const std::uint32_t recordSize = field(offset);
        if (recordSize != kAttributeRecordSize) {
            return refuse("attribute %" PRIu32 ": record size %" PRIu32 " is not 24", index,
                          recordSize);
        }
        const std::uint32_t attributeId = field(offset + kAttributeIdField);
        if (attributeId != DOM_IMAGE_ABSENT &&
            attributeId >= static_cast<std::uint32_t>(kAttributeCount)) {
            return refuse("attribute %" PRIu32 ": attribute id %" PRIu32
                          " is out of range (%d attribute names)",
                          index, attributeId, kAttributeCount);
        }
    }
    return true;
}

// Finds every string by its terminator. The table must hold exactly the
// counted strings and end where the image ends.
bool ImageValidator::walkStringTable()
{
    // Bounded by the header check: every string takes at least two bytes.
    image.strings.resize(image.stringCount);
    const std::uint32_t size = image.size;
    std::uint32_t offset = image.stringTableOffset;
    for (std::uint32_t index = 0; index < image.stringCount; ++index) {
        const std::uint32_t start = offset;
        while (size - offset >= 2 && readU16(bytes, offset) != 0) offset += 2;
        if (size - offset < 2) {
            return refuse("string table: string %" PRIu32 " of %" PRIu32
                          " has no terminator before the end of the image (%" PRIu32 " bytes)",
                          index, image.stringCount, size);
        }
        image.strings[index] = {start, (offset - start) / 2};
        offset += 2;
    }
    // The size handed to the reader is the image's exact size, not the size of
    // the block around it: bytes left over mean a wrong size or a wrong count.
    if (offset != size) {
        return refuse("string table: %" PRIu32 " strings end at offset %" PRIu32
                      ", but the image is %" PRIu32 " bytes",
                      image.stringCount, offset, size);
    }
    return true;
}

bool ImageValidator::checkString(const Place& place, const char* name, std::uint32_t value,
                                 StringRule rule)
{
    if (value == DOM_IMAGE_ABSENT) {
        if (rule != StringRule::Required) return true;
        return refuse("%s: %s string is absent", describe(place).c_str(), name);
    }
    if (value >= image.stringCount) {
        // An out-of-range index would send a reader past the string table.
        return refuse("%s: %s string %" PRIu32 " is out of range (%" PRIu32 " strings)",
                      describe(place).c_str(), name, value, image.stringCount);
    }
    // The writer never points such a field at the empty string; accepting it
    // would give two spellings of "no prefix" to every consumer.
    if (rule == StringRule::AbsentWhenEmpty && image.strings[value].length == 0) {
        return refuse("%s: %s string %" PRIu32 " is empty (an empty %s is written as absent)",
                      describe(place).c_str(), name, value, name);
    }
    return true;
}

bool ImageValidator::checkNodeReferences()
{
    for (std::uint32_t index = 0; index < image.nodeCount; ++index) {
        if (nodeKind(index) == DOM_IMAGE_ELEMENT) {
            if (!checkElementReferences(index) || !checkChildren(index)) return false;
        } else if (!checkString({"node", index}, "data", nodeField(index, kDataStringField),
                                StringRule::Required)) {
            return false;
        }
    }
    if (listedAttributes != image.attributeCount) {
        return refuse("attribute table: %" PRIu32 " attributes, but the elements list %" PRIu32,
                      image.attributeCount, listedAttributes);
    }
    return true;
}

bool ImageValidator::checkElementReferences(std::uint32_t index)
{
    const Place place{"node", index};
    const std::uint32_t tagId = nodeField(index, kTagIdField);
    if (tagId != DOM_IMAGE_ABSENT && tagId >= static_cast<std::uint32_t>(kTagCount)) {
        return refuse("node %" PRIu32 ": tag id %" PRIu32 " is out of range (%d tags)", index,
                      tagId, kTagCount);
    }
    if (!checkString(place, "name", nodeField(index, kNameStringField), StringRule::Required) ||
        !checkString(place, "prefix", nodeField(index, kPrefixStringField),
                     StringRule::AbsentWhenEmpty) ||
        !checkString(place, "namespace URI", nodeField(index, kNamespaceUriStringField),
                     StringRule::AbsentWhenEmpty)) {
        return false;
    }
    const std::uint32_t attributeCount = nodeField(index, kAttributeCountOfElementField);
    const std::uint32_t list = image.nodes[index].offset + kElementHeadSize;
    for (std::uint32_t position = 0; position < attributeCount; ++position) {
        const std::uint32_t attribute = field(list + 4 * position);
        if (attribute >= image.attributeCount) {
            return refuse("node %" PRIu32 ": attribute index %" PRIu32
                          " is out of range (%" PRIu32 " attributes)",
                          index, attribute, image.attributeCount);
        }
        // An index need not be the element's own record: an element copied
        // from another shares its attribute objects, and both lists then name
        // the record written last for them.
        ++listedAttributes;
    }
    const std::uint32_t declarationCount = nodeField(index, kDeclarationCountField);
    const std::uint32_t declarations = list + 4 * attributeCount;
    for (std::uint32_t entry = 0; entry < declarationCount; ++entry) {
        const std::uint32_t at = declarations + entry * kDeclarationEntrySize;
        const Place declaration{"node", index, "declaration", entry};
        if (!checkString(declaration, "declared prefix", field(at + kDeclaredPrefixField),
                         StringRule::AbsentAllowed) ||
            !checkString(declaration, "declared URI", field(at + kDeclaredUriField),
                         StringRule::Required)) {
            return false;
        }
    }
    return true;
}

// Children always follow their parent in the table, so no chain of child links
// can lead back to a node: together with the single parent per node this makes
// the records a forest.
bool ImageValidator::checkChildren(std::uint32_t index)
{
    const std::uint32_t offset = image.nodes[index].offset;
    const std::uint32_t childCount = field(offset + kChildCountField);
    const std::uint32_t list = offset + field(offset + kChildListOffsetField);
    for (std::uint32_t position = 0; position < childCount; ++position) {
        const std::uint32_t child = field(list + 4 * position);
        if (child >= image.nodeCount) {
            return refuse("node %" PRIu32 ": child index %" PRIu32 " is out of range (%" PRIu32
                          " nodes)",
                          index, child, image.nodeCount);
        }
        if (child <= index) {
            return refuse("node %" PRIu32 ": child index %" PRIu32
                          " does not point forward (children follow their parent)",
                          index, child);
        }
        // A root has the document for its parent and cannot also be a child.
        if (nodeField(child, kIsTopLevelField) != 0) {
            return refuse("node %" PRIu32 ": child index %" PRIu32 " is a top-level node", index,
                          child);
        }
        if (image.nodes[child].parent != DOM_IMAGE_ABSENT) {
            return refuse("node %" PRIu32 ": child index %" PRIu32
                          " is already a child of node %" PRIu32,
                          index, child, image.nodes[child].parent);
        }
        image.nodes[child].parent = index;
    }
    return true;
}

bool ImageValidator::checkAttributeStrings()
{
    for (std::uint32_t index = 0; index < image.attributeCount; ++index) {
        const std::uint32_t offset = image.attributeTableOffset + index * kAttributeRecordSize;
        const Place place{"attribute", index};
        if (!checkString(place, "name", field(offset + kAttributeNameField),
                         StringRule::Required) ||
            !checkString(place, "prefix", field(offset + kAttributePrefixField),
                         StringRule::AbsentWhenEmpty) ||
            !checkString(place, "namespace URI", field(offset + kAttributeNamespaceUriField),
                         StringRule::AbsentWhenEmpty) ||
            !checkString(place, "value", field(offset + kAttributeValueField),
                         StringRule::AbsentWhenEmpty)) {
            return false;
        }
    }
    return true;
}

bool ImageValidator::checkEveryChildHasParent()
{
    for (std::uint32_t index = 0; index < image.nodeCount; ++index) {
        if (nodeField(index, kIsTopLevelField) == 1) {
            image.roots.push_back(index);
        } else if (image.nodes[index].parent == DOM_IMAGE_ABSENT) {
            return refuse("node %" PRIu32 " is not top-level, but no element lists it as a child",
                          index);
        }
    }
    return true;
}

// The table must be in document order: a walk of the forest, parent before
// children, children in list order, must meet the records as 0, 1, 2, ...
bool ImageValidator::checkDocumentOrder()
{
    std::vector<std::uint32_t> pending(image.roots.rbegin(), image.roots.rend());
    std::uint32_t expected = 0;
    while (!pending.empty()) {
        const std::uint32_t node = pending.back();
        pending.pop_back();
        if (node != expected) {
            return refuse("node %" PRIu32 " is out of document order (a walk of the tree meets it"
                          " as node %" PRIu32 ")",
                          node, expected);
        }
        ++expected;
        if (nodeKind(node) != DOM_IMAGE_ELEMENT) continue;
        const std::uint32_t offset = image.nodes[node].offset;
        const std::uint32_t childCount = field(offset + kChildCountField);
        const std::uint32_t list = offset + field(offset + kChildListOffsetField);
        for (std::uint32_t position = childCount; position-- > 0;) {
            pending.push_back(field(list + 4 * position));
        }
    }
    return true;
}

// In document order a parent comes before its children and a subtree is one
// run of records, so one pass forward gives depths and one pass backward the
// end of each subtree.
void ImageValidator::computeDepthsAndSubtrees()
{
    auto& nodes = image.nodes;
    for (std::uint32_t index = 0; index < image.nodeCount; ++index) {
        const std::uint32_t parent = nodes[index].parent;
        nodes[index].depth = parent == DOM_IMAGE_ABSENT ? 0 : nodes[parent].depth + 1;
        nodes[index].subtreeEnd = index + 1;
    }
    for (std::uint32_t index = image.nodeCount; index-- > 0;) {
        const std::uint32_t parent = nodes[index].parent;
        if (parent != DOM_IMAGE_ABSENT && nodes[parent].subtreeEnd < nodes[index].subtreeEnd) {
            nodes[parent].subtreeEnd = nodes[index].subtreeEnd;
        }
    }
}

}  // namespace

std::string validateImage(DOMImage& image)
{
    return ImageValidator(image).run();
}

}  // namespace Parsers
