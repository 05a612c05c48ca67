#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Pool.h"
#include "Value.h"

namespace kvo {

// The value cells of one icon, in order, 1-based; a cell may carry a key, which
// compares without regard to case and must be unique.
class ValueCollection {
public:
    ValueCollection() : own_(std::make_unique<Pool<Value>>()), pool_(own_.get()) {}
    // Cells made in a pool that the owner shares among its collections and
    // keeps alive longer: an icon's few cells cost an allocation otherwise.
    explicit ValueCollection(Pool<Value>& shared) : pool_(&shared) {}
    // Deep, with every cell's run-time state (averaging included): for undo.
    explicit ValueCollection(const ValueCollection& other) : ValueCollection() { CopyCells(other); }
    ValueCollection(const ValueCollection& other, Pool<Value>& shared) : ValueCollection(shared) { CopyCells(other); }
    bool operator==(const ValueCollection& other) const;
    ValueCollection& operator=(const ValueCollection&) = delete;

    // Raises error 457 when the key is already in use.
    Value& Add(std::optional<std::string> key = std::nullopt);
    Value& AddFromFile(BlockParser& parser);
    // A Long count, then that many cell records.
    void AddFromBinary(BinaryStream& stream, int32_t version);
    void SaveToBinary(BinaryStream& stream) const;

    // Error 9 for a position outside 1..Count, error 5 for an unknown key.
    Value& Item(int32_t index) const;
    Value& Item(std::string_view key) const;
    int32_t Count() const { return static_cast<int32_t>(cells_.size()); }
    void Remove(int32_t index);
    void Remove(std::string_view key);
    void Clear() {
        cells_.clear();
        keys_.clear();
    }

    // Empties the target and gives it a copy of each cell, in order.
    void Copy(ValueCollection& target) const;
    bool IsOutOfTolerance() const;
    int16_t WorstTolerance() const;

    // Iteration in order, for the writers and the views.
    auto begin() const { return cells_.begin(); }
    auto end() const { return cells_.end(); }

private:
    void CopyCells(const ValueCollection& other);
    void ReserveCells(std::size_t count);
    std::size_t PositionOf(std::string_view key, const char* source) const;
    std::size_t PositionOf(const Value* cell) const;
    void ForgetKeyOf(const Value* cell);

    std::unique_ptr<Pool<Value>> own_;  // when no owner shares one; before the cells, which go back to it
    Pool<Value>* pool_;
    std::vector<Pool<Value>::Ptr> cells_;
    // The few cells that have a key, so that the others carry none.
    std::vector<std::pair<const Value*, std::string>> keys_;
};

}  // namespace kvo
