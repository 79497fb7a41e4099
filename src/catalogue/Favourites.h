#pragma once
// Favourites: the edits of the user's favourites, kept twice: in bunches (group 8) and in a flat
// order of their own (group 9). An entry is in both or in neither. These functions edit the two
// arrays they are given and nothing else; the catalogue writes the files and announces the change.
#include "catalogue/TQApp.h"

#include <QSet>

namespace kelp {

class Favourites
{
public:
    // As an index: the end of the array. As a bunch: a new bunch.
    static constexpr qint64 kAtEnd = 2147483647;

    Favourites(AppLists &bunches, AppList &flat) : _bunches(bunches), _flat(flat) {}

    // Moves the entry to index in the flat order (positions count before the entry is taken out;
    // past the end is clamped). A newcomer also gets a bunch of its own at the end. Returns false
    // when the entry is already there.
    bool moveInFlatOrder(const TQAppPtr &app, qint64 index);
    // Moves the entry to index in a bunch that existed before the move; any bunch past those
    // (kAtEnd among them) is a new bunch at the end. A bunch emptied by the move goes, unless it
    // is the target. A newcomer also joins the end of the flat order. Returns false when the entry
    // is already there.
    bool moveInBunches(const TQAppPtr &app, qint64 bunch, qint64 index);
    // Moves the entry to a new bunch of its own, inserted at index among the bunches.
    void moveToNewBunch(const TQAppPtr &app, qint64 index);
    // Takes the entries of the paths out; emptied bunches go. Returns whether any was there.
    bool remove(const QSet<QString> &paths);
    // Replaces each favourite whose path is gone by its best match among the candidates, each
    // candidate used once.
    void locate(AppList candidates);

    // The candidate most likely to be the entry moved elsewhere: the only one of the same name,
    // else the one whose path shares the longest run of trailing components (the first on a tie);
    // nullptr when nothing fits.
    static TQAppPtr bestMatchForApp(const TQAppPtr &app, const AppLists &candidates);

private:
    AppLists &_bunches;
    AppList &_flat;
};

} // namespace kelp
