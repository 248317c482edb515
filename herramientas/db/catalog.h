#pragma once
// The star and object lists that the importers fill and the writers consume.
#include <cstdint>
#include <string>
#include <vector>

namespace tornel::db {

struct CatalogStar {
    double ra = 0;   // degrees, 0 to 360, J2000
    double dec = 0;  // degrees
    float mag = 0;   // visual magnitude; 99 when unknown
};

struct SkyObject {
    float ra = 0, dec = 0;  // degrees, J2000
    float size = 0;         // major axis, minutes of arc; 0 when unknown
    std::string name;
};

// Several catalogues joined: a star of a later list that lies within `radiusArcsec` of a star of an
// earlier list is the same star and is dropped (the radius covers the epochs of the positions, up to
// 20 arcsec for the fastest stars). The result is sorted by magnitude, brightest first.
std::vector<CatalogStar> MergeCatalogs(const std::vector<std::vector<CatalogStar>>& sources,
                                       double radiusArcsec, int64_t* duplicates = nullptr);

// Stable order: brightest first, then by declination and right ascension.
void SortByMagnitude(std::vector<CatalogStar>& stars);

}  // namespace tornel::db
