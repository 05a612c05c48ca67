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

void ValueCollection::ReserveCells(std::size_t count) {
    // A shared pool grows in steps of its own; a block for each icon's few
    // cells is what sharing it saves.
    if (own_) own_->Reserve(count);
}

void ValueCollection::CopyCells(const ValueCollection& other) {
    cells_.reserve(other.cells_.size());
    ReserveCells(other.cells_.size());
    for (const auto& cell : other.cells_) cells_.push_back(pool_->Make(*cell));
    for (const auto& [cell, key] : other.keys_) keys_.emplace_back(cells_[other.PositionOf(cell)].get(), key);
}

bool ValueCollection::operator==(const ValueCollection& other) const {
    const auto sameKey = [&](const auto& a, const auto& b) { return a.second == b.second && PositionOf(a.first) == other.PositionOf(b.first); };
    return std::equal(cells_.begin(), cells_.end(), other.cells_.begin(), other.cells_.end(),
                      [](const auto& a, const auto& b) { return *a == *b; }) &&
           std::equal(keys_.begin(), keys_.end(), other.keys_.begin(), other.keys_.end(), sameKey);
}

std::size_t ValueCollection::PositionOf(const Value* cell) const {
    return static_cast<std::size_t>(std::find_if(cells_.begin(), cells_.end(), [&](const auto& held) { return held.get() == cell; }) -
                                    cells_.begin());
}

void ValueCollection::ForgetKeyOf(const Value* cell) {
    std::erase_if(keys_, [&](const auto& entry) { return entry.first == cell; });
}

Value& ValueCollection::Add(std::optional<std::string> key) {
    if (key) {
        for (const auto& entry : keys_)
            if (EqualsNoCase(entry.second, *key))
                throw Error(ErrorNumber::KeyInUse, "ValueCollection.Add",
                            "This key is already associated with an element of this collection: " + *key);
    }
    Value& cell = *cells_.emplace_back(pool_->Make());
    if (key) keys_.emplace_back(&cell, std::move(*key));
    return cell;
}

Value& ValueCollection::AddFromFile(BlockParser& parser) {
    auto value = pool_->Make();
    value->LoadFromFile(parser);
    return *cells_.emplace_back(std::move(value));
}

void ValueCollection::AddFromBinary(BinaryStream& stream, int32_t version) {
    const int32_t count = stream.GetLong();
    // A damaged count ends at the end of the file, having reserved no more than it holds.
    const std::size_t reserved = ReservedCount(count, stream.Remaining(), kMinimalCellBytes);
    cells_.reserve(cells_.size() + reserved);
    ReserveCells(reserved);
    for (int32_t i = 0; i < count; ++i) {
        auto value = pool_->Make();
        value->LoadFromBinary(stream, version);
        cells_.push_back(std::move(value));
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
    return *cells_[static_cast<std::size_t>(index - 1)];
}

std::size_t ValueCollection::PositionOf(std::string_view key, const char* source) const {
    for (const auto& [cell, known] : keys_)
        if (EqualsNoCase(known, key)) return PositionOf(cell);
    throw Error(ErrorNumber::InvalidCall, source, "No cell has the key " + std::string(key));
}

Value& ValueCollection::Item(std::string_view key) const { return *cells_[PositionOf(key, "ValueCollection.Item")]; }

void ValueCollection::Remove(int32_t index) {
    ForgetKeyOf(&Item(index));  // the same range check
    cells_.erase(cells_.begin() + (index - 1));
}

void ValueCollection::Remove(std::string_view key) {
    const auto position = static_cast<std::ptrdiff_t>(PositionOf(key, "ValueCollection.Remove"));
    ForgetKeyOf(cells_[static_cast<std::size_t>(position)].get());
    cells_.erase(cells_.begin() + position);
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
