// The interface of everything that writes a record into a document image.
#pragma once

#include <cstdint>

namespace Parsers {

class StringTable;

class BinarySerializable {
public:
    // With a null destination returns the byte size of the record and writes
    // nothing; given a string table as well, it numbers the record's strings in
    // it in the order the record uses them. Otherwise writes the record at
    // destination, interning its strings in stringTable, and returns the same
    // size.
    virtual std::uint32_t serialize(std::uint8_t* destination, StringTable* stringTable) = 0;
    virtual ~BinarySerializable() = default;
};

}  // namespace Parsers
