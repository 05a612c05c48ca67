#include "IconCollection.h"

#include <algorithm>

#include "BinaryStream.h"
#include "services/Error.h"

namespace kvo {

namespace {

// Five Longs, two Booleans and two Integers, an empty font name, an Integer,
// a Boolean, two Longs, the flag, an empty name and the count of cells.
constexpr uint64_t kMinimalIconBytes = 20 + 8 + 2 + 2 + 2 + 8 + 2 + 2 + 4;

}  // namespace

IconCollection::IconCollection(const IconCollection& other) {
    icons_.reserve(other.icons_.size());
    pool_.Reserve(other.icons_.size());
    for (const auto& icon : other.icons_) icons_.push_back(pool_.Make(*icon, cells_));
}

bool IconCollection::operator==(const IconCollection& other) const {
    return std::equal(icons_.begin(), icons_.end(), other.icons_.begin(), other.icons_.end(),
                      [](const auto& a, const auto& b) { return *a == *b; });
}

Icon& IconCollection::Append(Pool<Icon>::Ptr icon) {
    icons_.push_back(std::move(icon));
    return *icons_.back();
}

Icon& IconCollection::Add() {
    return Append(pool_.Make(cells_));
}

Icon& IconCollection::AddFromFile(BlockParser& parser) {
    auto icon = pool_.Make(cells_);
    icon->LoadFromFile(parser);
    return Append(std::move(icon));
}

void IconCollection::AddFromBinary(BinaryStream& stream, int32_t version) {
    const int32_t count = stream.GetLong();
    const std::size_t reserved = ReservedCount(count, stream.Remaining(), kMinimalIconBytes);
    icons_.reserve(icons_.size() + reserved);
    pool_.Reserve(reserved);
    for (int32_t i = 0; i < count; ++i) {
        auto icon = pool_.Make(cells_);
        icon->LoadFromBinary(stream, version);
        Append(std::move(icon));
    }
}

void IconCollection::SaveToBinary(BinaryStream& stream) const {
    stream.WriteLong(Count());
    for (const auto& icon : icons_) icon->SaveToBinary(stream);
}

Icon& IconCollection::Item(int32_t index) const {
    if (index < 1 || index > Count())
        throw Error(ErrorNumber::SubscriptOutOfRange, "IconCollection.Item", "Subscript out of range: " + std::to_string(index));
    return *icons_[static_cast<std::size_t>(index - 1)];
}

void IconCollection::Remove(int32_t index) {
    Item(index);  // the same range check
    icons_.erase(icons_.begin() + (index - 1));
}

void IconCollection::Remove(const Icon& icon) {
    const auto it = std::find_if(icons_.begin(), icons_.end(), [&](const auto& held) { return held.get() == &icon; });
    if (it != icons_.end()) icons_.erase(it);
}

bool IconCollection::IsOutOfTolerance() const {
    return std::any_of(icons_.begin(), icons_.end(), [](const auto& icon) { return icon->IsOutOfTolerance(); });
}

int16_t IconCollection::WorstTolerance() const {
    int16_t worst = 0;
    for (const auto& icon : icons_)
        if (icon->WorstTolerance() > worst) worst = icon->WorstTolerance();
    return worst;
}

}  // namespace kvo
