#pragma once
// What a database folder holds, and a check of every invariant that the program's readers rely on.
#include <string>
#include <vector>

namespace tornel {
class Platform;
}

namespace tornel::db {

struct Invariant {
    std::string name;  // what is checked
    bool holds = false;
    std::string detail;  // the first fault found, or a count
};

struct FolderReport {
    std::vector<std::string> facts;  // counts, sizes, densities, one per line
    std::vector<Invariant> invariants;
    bool AllHold() const;
};

// Reads every database file of `folder` (ending in "/" or not). A file that is missing is reported
// as a failed invariant only when another file of its database is present.
// region.bin is compared with the program's own rebuild of it, made on `platform` aside.
FolderReport InspectDatabase(Platform& platform, const std::string& folder);

}  // namespace tornel::db
