#pragma once

#include <tuple>

#include <nlohmann/json.hpp>

#include "feature/wire/WireCoding.h"
#include "feature/wire/WireRecord.h"
#include "jjkit/model/SharedCommit.h"
#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJOp.h"
#include "jjkit/records/JJWorkspace.h"

// The template records on the wire. Their keys are the field names, not the
// snake-case keys of jj's own output (RecordCoding.h): the wire speaks the
// program's vocabulary throughout.

namespace vorda {

template <>
struct WireFields<JJSignature> {
    static constexpr auto fields =
        std::tuple{wireField("name", &JJSignature::name), wireField("email", &JJSignature::email),
                   wireField("timestamp", &JJSignature::timestamp)};
};

template <>
struct WireFields<JJCommitRef> {
    static constexpr auto fields =
        std::tuple{wireField("name", &JJCommitRef::name), wireField("remote", &JJCommitRef::remote),
                   wireField("target", &JJCommitRef::target),
                   wireField("trackingTarget", &JJCommitRef::trackingTarget)};
};

template <>
struct WireFields<ChangedFile> {
    static constexpr auto fields =
        std::tuple{wireField("path", &ChangedFile::path), wireField("status", &ChangedFile::status),
                   wireField("linesAdded", &ChangedFile::linesAdded),
                   wireField("linesRemoved", &ChangedFile::linesRemoved)};
};

template <>
struct WireFields<JJCommit> {
    static constexpr auto fields = std::tuple{
        wireField("commitID", &JJCommit::commitID),
        wireField("changeID", &JJCommit::changeID),
        wireField("parents", &JJCommit::parents),
        wireField("description", &JJCommit::description),
        wireField("author", &JJCommit::author),
        wireField("committer", &JJCommit::committer),
        wireField("conflict", &JJCommit::conflict),
        wireField("empty", &JJCommit::empty),
        wireField("immutable", &JJCommit::immutable),
        wireField("localBookmarks", &JJCommit::localBookmarks),
        wireField("remoteBookmarks", &JJCommit::remoteBookmarks),
        wireField("workingCopy", &JJCommit::workingCopy),
        wireField("changedFiles", &JJCommit::changedFiles),
    };
};

template <>
struct WireFields<JJOp> {
    static constexpr auto fields =
        std::tuple{wireField("opID", &JJOp::opID), wireField("description", &JJOp::description),
                   wireField("startTime", &JJOp::startTime)};
};

template <>
struct WireFields<JJWorkspace> {
    static constexpr auto fields =
        std::tuple{wireField("name", &JJWorkspace::name), wireField("root", &JJWorkspace::root),
                   wireField("commitID", &JJWorkspace::commitID),
                   wireField("changeID", &JJWorkspace::changeID)};
};

/// A shared commit is written as the commit; a decoded one is shared by
/// nothing else.
template <>
struct Wire<SharedCommit> {
    static nlohmann::json encode(const SharedCommit& commit) {
        return Wire<JJCommit>::encode(*commit);
    }
    static SharedCommit decode(const JsonReader& reader) {
        return SharedCommit(Wire<JJCommit>::decode(reader));
    }
};

}  // namespace vorda
