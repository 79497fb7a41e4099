#pragma once
// DragPayload: what a favourite being moved inside the panel carries on the drag.
//
// The icon view puts the application's path, the group shown when the drag began, and the bunch
// and index of the cell it started from on the drag, under Kelp's own MIME type. The encoding is a
// CBOR map that names itself and its version and holds the four values by name, so a drag from
// another Kelp version, from another program or a damaged one is recognised and refused instead of
// moving the wrong favourite. decodeDragPayload is a pure function of the bytes: it allocates no
// more than the input warrants and never throws.
#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>

namespace kelp {

struct TQDragPayload
{
    static constexpr std::uint64_t kNotFound = 0x7fffffffffffffffULL;

    QString app; // the application's standardised path
    std::uint64_t group = kNotFound;
    std::uint64_t bunch = kNotFound;
    std::uint64_t index = kNotFound;

    friend bool operator==(const TQDragPayload &, const TQDragPayload &) = default;
};

// The MIME type a move is offered under; no other program is expected to read it.
inline constexpr char kDragPayloadMimeType[] = "application/x-kelp-favourite-move";
// The encoding's version: a payload of another version is refused.
inline constexpr int kDragPayloadVersion = 1;
// Larger data is refused unread (a path is at most a few kilobytes).
inline constexpr qsizetype kDragPayloadMaxBytes = 16 * 1024;

QByteArray encodeDragPayload(const TQDragPayload &payload);
// The payload, or nothing when the bytes are not exactly one payload of this version: not CBOR,
// data after it, another format or version, a value missing or of the wrong type, a negative
// number, a group past 9, an empty or relative path. `why` (optional) says what was wrong.
std::optional<TQDragPayload> decodeDragPayload(const QByteArray &bytes, QString *why = nullptr);

} // namespace kelp
