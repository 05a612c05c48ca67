#include "ValueCollection.h"

#include <algorithm>

#include "BinaryStream.h"
#include "services/Error.h"
#include "services/Text.h"

namespace kvo {

namespace {

// A cell record without its tolerances: an empty type, four Integers, a
// Double, an Integer, a Boolean and a Variant's tag.
constexpr uint64_t kMinimalCellBytes = 2 + 8 + 8 + 2 + 2 + 2;

}  // namespace

Value& ValueCollection::Append(std::unique_ptr<Value> value, std::optional<std::string> key) {
    cells_.push_back({std::move(value), std::move(key)});
    return *cells_.back().value;
}

ValueCollection::ValueCollection(const ValueCollection& other) {
    cells_.reserve(other.cells_.size());
    for (const auto& entry : other.cells_) cells_.push_back({std::make_unique<Value>(*entry.value), entry.key});
}

bool ValueCollection::operator==(const ValueCollection& other) const {
    return std::equal(cells_.begin(), cells_.end(), other.cells_.begin(), other.cells_.end(),
                      [](const Entry& a, const Entry& b) { return a.key == b.key && *a.value == *b.value; });
}

Value& ValueCollection::Add(std::optional<std::string> key) {
    if (key) {
        for (const auto& entry : cells_)
            if (entry.key && EqualsNoCase(*entry.key, *key))
                throw Error(ErrorNumber::KeyInUse, "ValueCollection.Add",
                            "This key is already associated with an element of this collection: " + *key);
    }
    auto value = std::make_unique<Value>();
    value->Initialize();
    return Append(std::move(value), std::move(key));
}

Value& ValueCollection::AddFromFile(BlockParser& parser) {
    auto value = std::make_unique<Value>();
    value->Initialize();
    value->LoadFromFile(parser);
    return Append(std::move(value), std::nullopt);
}

void ValueCollection::AddFromBinary(BinaryStream& stream, int32_t version) {
    const int32_t count = stream.GetLong();
    // A damaged count ends at the end of the file, having reserved no more than it holds.
    cells_.reserve(cells_.size() + ReservedCount(count, stream.Remaining(), kMinimalCellBytes));
    for (int32_t i = 0; i < count; ++i) {
        auto value = std::make_unique<Value>();
        value->Initialize();
        value->LoadFromBinary(stream, version);
        Append(std::move(value), std::nullopt);
    }
}

void ValueCollection::SaveToBinary(BinaryStream& stream) const {
    stream.WriteLong(Count());
    for (const auto& entry : cells_) entry->SaveToBinary(stream);
}

Value& ValueCollection::Item(int32_t index) const {
    if (index < 1 || index > Count())
        throw Error(ErrorNumber::SubscriptOutOfRange, "ValueCollection.Item",
                    "Subscript out of range: " + std::to_string(index));
    return *cells_[static_cast<std::size_t>(index - 1)].value;
}

std::size_t ValueCollection::PositionOf(std::string_view key, const char* source) const {
    for (std::size_t i = 0; i < cells_.size(); ++i)
        if (cells_[i].key && EqualsNoCase(*cells_[i].key, key)) return i;
    throw Error(ErrorNumber::InvalidCall, source, "No cell has the key " + std::string(key));
}

Value& ValueCollection::Item(std::string_view key) const { return *cells_[PositionOf(key, "ValueCollection.Item")].value; }

void ValueCollection::Remove(int32_t index) {
    Item(index);  // the same range check
    cells_.erase(cells_.begin() + (index - 1));
}

void ValueCollection::Remove(std::string_view key) {
    cells_.erase(cells_.begin() + static_cast<std::ptrdiff_t>(PositionOf(key, "ValueCollection.Remove")));
}

void ValueCollection::Copy(ValueCollection& target) const {
    if (&target == this) return;  // copying into itself would empty it first
    target.Clear();
    for (const auto& entry : cells_) entry->Copy(target.Add());
}

bool ValueCollection::IsOutOfTolerance() const {
    for (const auto& entry : cells_)
        if (entry->IsOutOfTolerance()) return true;
    return false;
}

int16_t ValueCollection::WorstTolerance() const {
    int16_t worst = 0;
    for (const auto& entry : cells_)
        if (entry->Tolerance() > worst) worst = entry->Tolerance();
    return worst;
}

}  // namespace kvo
