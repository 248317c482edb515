#pragma once
// `tornel-db default`: the Tycho-2 star list and OpenNGC that Debian publishes, fetched into the
// program folder, built into both databases there, and the parameters pointed at them.
#include <ostream>
#include <string>

#include "herramientas/db/build.h"

namespace tornel {
class Platform;
}

namespace tornel::db {

struct DefaultSources {
    std::string starPackage = "astrometry-data-tycho2-07-littleendian";
    std::string starFile = "usr/share/astrometry/index-tycho2-07.littleendian.fits";
    std::string objectPackage = "kstars-data";
    std::string objectFile = "usr/share/kstars/OpenNGC.kscat";
};

struct DefaultResult {
    std::string databaseFolder;
    bool reused = false;  // the database was already there, built with the same options
};

// A stable text of the options: a database built with other options is built again.
std::string OptionsText(const BuildOptions& options);

// Fetches what is missing under <home>/downloads/ (apt-get download, dpkg -x), builds into
// <home>/database/ unless a database built with the same options stands there, then writes the
// parameters of <home>: stars and distances folders (lines 15, 16) and database `database` (line 51).
bool MakeDefaultDatabase(Platform& platform, const std::string& home, const BuildOptions& options,
                         int database, const DefaultSources& sources, std::ostream* log, std::string& error,
                         DefaultResult& result);

}  // namespace tornel::db
