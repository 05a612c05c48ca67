#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Icon.h"
#include "Pool.h"

namespace kvo {

// The icons of one slide, in the order they were added (the files keep it).
class IconCollection {
public:
    IconCollection() = default;
    explicit IconCollection(const IconCollection& other);
    bool operator==(const IconCollection& other) const;
    IconCollection& operator=(const IconCollection&) = delete;

    Icon& Add();
    Icon& AddFromFile(BlockParser& parser);
    // A Long count, then that many icon records.
    void AddFromBinary(BinaryStream& stream, int32_t version);
    void SaveToBinary(BinaryStream& stream) const;

    // 1-based; error 9 outside 1..Count.
    Icon& Item(int32_t index) const;
    int32_t Count() const { return static_cast<int32_t>(icons_.size()); }
    void Clear() { icons_.clear(); }
    void Remove(int32_t index);
    // Removes that very icon (identity, not equality); a missing one is no error.
    void Remove(const Icon& icon);

    bool IsOutOfTolerance() const;
    int16_t WorstTolerance() const;

    auto begin() const { return icons_.begin(); }
    auto end() const { return icons_.end(); }

private:
    Icon& Append(Pool<Icon>::Ptr icon);

    Pool<Value> cells_;  // the icons' cells, shared: before the icons, whose cells go back to it
    Pool<Icon> pool_;    // before the icons, which go back to it
    std::vector<Pool<Icon>::Ptr> icons_;
};

}  // namespace kvo
