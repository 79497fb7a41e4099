#pragma once
// How deeply a property-list document nests, found without parsing it: libplist builds and frees
// its trees recursively, so a document nested tens of thousands of levels deep would exhaust the
// stack inside libplist before Kelp could look at the tree. These scans run first, iteratively,
// in one pass over the bytes (XML) or over the object table (binary).
#include <QByteArray>
#include <QString>

namespace kelp::plist {

// Arrays and dictionaries inside one another deeper than this are refused. No file Kelp reads
// comes close.
inline constexpr int kMaxNesting = 64;

// Whether the document nests at most maxNesting containers deep. A binary document whose object
// table cannot be followed (an offset or reference out of range, a container that holds itself)
// fails too, with the reason in *error.
bool nestingWithin(const QByteArray &bytes, int maxNesting, QString *error);

} // namespace kelp::plist
