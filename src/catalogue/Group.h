#pragma once
// The catalogue's groups: the ten arrays the panel can show, by their stored numbers.
//
//   0 running        1 included (per scan folder)   2 included, flat
//   3 excluded (per scan folder)                    4 excluded, flat (the exclusion list)
//   5 all (per scan folder)                         6 all, flat
//   7 missing (excluded but no longer found)
//   8 favourites (bunches)                          9 favourites, flat (an order of its own)
//
// The numbers are what the settings store (groupToShowWhenWindowOpens...): read them back
// through groupFromStored, which turns anything out of range into Group::None.
#include <QDebug>
#include <QString>

#include <array>

namespace kelp {

enum class Group {
    None = -1,
    Running = 0,
    Included = 1,
    Included1D = 2,
    Excluded = 3,
    Excluded1D = 4,
    All = 5,
    All1D = 6,
    Missing = 7,
    User = 8,
    User1D = 9,
};

// Every group, in number order.
inline constexpr std::array<Group, 10> kAllGroups = {
    Group::Running, Group::Included, Group::Included1D, Group::Excluded, Group::Excluded1D,
    Group::All,     Group::All1D,    Group::Missing,    Group::User,     Group::User1D,
};

constexpr qint64 storedGroup(Group group)
{
    return static_cast<qint64>(group);
}

// The group a stored number names; Group::None for -1 and for anything out of range.
constexpr Group groupFromStored(qint64 value)
{
    return value >= storedGroup(Group::Running) && value <= storedGroup(Group::User1D)
               ? static_cast<Group>(value)
               : Group::None;
}

// Whether the group is one of the ten (Group::None and stray values are not).
constexpr bool isValidGroup(Group group)
{
    return groupFromStored(storedGroup(group)) != Group::None;
}

// Groups kept per scan folder (or in bunches, for the favourites).
constexpr bool isTwoLevel(Group group)
{
    return group == Group::Included || group == Group::Excluded || group == Group::All ||
           group == Group::User;
}

// The flat form of a two-level group; any other group is its own flat form.
constexpr Group flatForm(Group group)
{
    switch (group) {
    case Group::Included:
        return Group::Included1D;
    case Group::Excluded:
        return Group::Excluded1D;
    case Group::All:
        return Group::All1D;
    case Group::User:
        return Group::User1D;
    default:
        return group;
    }
}

// The group's name in reports ("allApps1D"...); empty for Group::None.
inline QString arrayName(Group group)
{
    switch (group) {
    case Group::Running:
        return QStringLiteral("runningApps");
    case Group::Included:
        return QStringLiteral("includedApps");
    case Group::Included1D:
        return QStringLiteral("includedApps1D");
    case Group::Excluded:
        return QStringLiteral("excludedApps");
    case Group::Excluded1D:
        return QStringLiteral("excludedApps1D");
    case Group::All:
        return QStringLiteral("allApps");
    case Group::All1D:
        return QStringLiteral("allApps1D");
    case Group::Missing:
        return QStringLiteral("missingApps");
    case Group::User:
        return QStringLiteral("userApps");
    case Group::User1D:
        return QStringLiteral("userApps1D");
    case Group::None:
        break;
    }
    return QString();
}

// Logged as its stored number.
inline QDebug operator<<(QDebug debug, Group group)
{
    return debug << storedGroup(group);
}

} // namespace kelp
