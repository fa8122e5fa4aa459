#ifndef VELKOR_TESTS_UNIT_FIELD_LAYOUT_H
#define VELKOR_TESTS_UNIT_FIELD_LAYOUT_H

/// Checks that a type consists of exactly the fields that are listed, in that order.

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

struct FieldPlace {
    const char* name;
    std::size_t offset;
    std::size_t size;
    std::size_t alignment;
};

/// The entry of one field of `object`, an object of the type under test.
#define FIELD_PLACE(object, field) fieldPlace(#field, object, (object).field)

template <typename Object, typename Field>
FieldPlace fieldPlace(const char* name, const Object& object, const Field& field) {
    const char* const start = reinterpret_cast<const char*>(&object);
    const char* const place = reinterpret_cast<const char*>(&field);
    // Some fields are pointers, and their own size is what is meant.
    // NOLINTNEXTLINE(bugprone-sizeof-expression)
    return FieldPlace{name, static_cast<std::size_t>(place - start), sizeof(Field), alignof(Field)};
}

/// Each field stands right behind the one before it, but for its own alignment, the first at 0 and
/// nothing behind the last: no field is missing from the list, none has changed its place.
inline void expectTightLayout(const std::vector<FieldPlace>& fields, std::size_t typeSize,
                              std::size_t typeAlignment) {
    const auto alignedUp = [](std::size_t offset, std::size_t alignment) {
        return (offset + alignment - 1) / alignment * alignment;
    };
    std::size_t end = 0;
    for (const FieldPlace& field : fields) {
        EXPECT_EQ(field.offset, alignedUp(end, field.alignment)) << field.name;
        end = field.offset + field.size;
    }
    EXPECT_EQ(typeSize, alignedUp(end, typeAlignment)) << "behind " << fields.back().name;
}

#endif
