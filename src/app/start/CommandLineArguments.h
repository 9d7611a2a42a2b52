#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace vorda {

/// One thing to open that the command line names: a path as the user typed
/// it (possibly relative), or an address ("vorda://…", "file://…") that
/// `PendingRepoOpens::path(from:)` still has to read.
struct CommandLineOpen {
    enum class Kind { path, address };
    Kind kind = Kind::path;
    QString text;

    bool operator==(const CommandLineOpen&) const = default;
};

/// The command-line forms, as a pure function: the first element
/// (the program) is dropped; "--repo" or "-R" take the next argument (and
/// with none, nothing); "--repo=VALUE" takes VALUE; "--" makes every later
/// argument a path; any other argument that begins with "-" is ignored; any
/// other argument is a path. A bare argument that reads as a "vorda:" or
/// "file:" address is reported as an address, so that the desktop entry's
/// `vorda %U` works for the address scheme too.
///
///     parse({"vorda", "-R", "/a", "--", "-x"})
///         == {{path, "/a"}, {path, "-x"}}
struct CommandLineArguments {
    static QList<CommandLineOpen> parse(const QStringList& arguments);

    /// Whether a bare argument is an address: it starts with "vorda:" or
    /// "file:", in any case.
    static bool isAddress(const QString& argument);
};

}  // namespace vorda
