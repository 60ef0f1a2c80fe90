// The lines that the tables of all clusterings have in common.
#pragma once

#include <cstdint>
#include <span>
#include <unordered_map>

#include "chain/chain.h"

namespace tervolanda {

class Log;

// Prints clusters by model position; models appear under their IDs, and with their file names when
// a list of chains is given.  What is handed over is lent.
class ClusterTables {
 public:
    // Names are looked up by ID; an ID without a chain has an empty name.
    ClusterTables(std::span<const std::uint32_t> ids, const ChainList* models, Log& log);

    Log& log() { return *log_; }
    bool haveNames() const { return haveNames_; }
    std::uint32_t id(std::size_t model) const { return ids_[model]; }
    const char* name(std::size_t model) const;
    // Characters of the longest name.
    int nameWidth() const { return nameWidth_; }

    void printRule(int detail = 0);
    void printItemHeader();
    void printItem(std::size_t model, std::uint32_t cluster);
    void printCentroidHeader();
    void printCentroid(std::uint32_t cluster, std::size_t model, std::size_t size, double spread);

 private:
    std::span<const std::uint32_t> ids_;
    std::unordered_map<std::uint32_t, const char*> nameOf_;  // by ID
    int nameWidth_ = 0;
    bool haveNames_;
    Log* log_;
};

// A number as the tables show it with three decimals: what would read "-0.000" is 0.
inline double shown(double value) {
    return value <= 0.0 && value > -0.0005 ? 0.0 : value;
}

}  // namespace tervolanda
