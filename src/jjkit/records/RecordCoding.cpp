#include "jjkit/records/RecordCoding.h"

#include "jjkit/records/RecordFields.h"
#include "jjkit/support/Uuid.h"

namespace vorda {
namespace {

std::vector<std::string> stringList(const JsonReader& reader) {
    std::vector<std::string> values;
    for (const auto& element : reader.array()) {
        values.push_back(element.string());
    }
    return values;
}

// Commit lists in bookmark targets may hold nulls (an absent side of a
// conflict); those are dropped and the rest keep their order.
std::vector<std::string> targetList(const JsonReader& reader) {
    std::vector<std::string> values;
    for (const auto& element : reader.array()) {
        if (!element.isNull()) {
            values.push_back(element.string());
        }
    }
    return values;
}

std::optional<std::string> optionalString(const JsonReader& reader, std::string_view key) {
    if (auto field = reader.optionalField(key)) {
        return field->string();
    }
    return std::nullopt;
}

}  // namespace

JJSignature RecordCoding<JJSignature>::decode(const JsonReader& reader) {
    return JJSignature{reader.field("name").string(), reader.field("email").string(),
                       reader.field("timestamp").string()};
}

nlohmann::json RecordCoding<JJSignature>::encode(const JJSignature& signature) {
    return {
        {"name", signature.name}, {"email", signature.email}, {"timestamp", signature.timestamp}};
}

JJCommitRef RecordCoding<JJCommitRef>::decode(const JsonReader& reader) {
    JJCommitRef ref;
    ref.name = reader.field("name").string();
    ref.remote = optionalString(reader, "remote");
    if (auto target = reader.optionalField("target")) {
        ref.target = targetList(*target);
    }
    if (auto tracking = reader.optionalField("tracking_target")) {
        ref.trackingTarget = targetList(*tracking);
    }
    return ref;
}

nlohmann::json RecordCoding<JJCommitRef>::encode(const JJCommitRef& ref) {
    nlohmann::json object{{"name", ref.name}, {"target", ref.target}};
    if (ref.remote) {
        object["remote"] = *ref.remote;
    }
    if (ref.trackingTarget) {
        object["tracking_target"] = *ref.trackingTarget;
    }
    return object;
}

ChangedFile RecordCoding<ChangedFile>::decode(const JsonReader& reader) {
    ChangedFile file;
    file.path = reader.field("path").string();
    file.status = reader.field("status").string();
    if (auto added = reader.optionalField("lines_added")) {
        file.linesAdded = added->integer();
    }
    if (auto removed = reader.optionalField("lines_removed")) {
        file.linesRemoved = removed->integer();
    }
    return file;
}

nlohmann::json RecordCoding<ChangedFile>::encode(const ChangedFile& file) {
    nlohmann::json object{{"path", file.path}, {"status", file.status}};
    if (file.linesAdded) {
        object["lines_added"] = *file.linesAdded;
    }
    if (file.linesRemoved) {
        object["lines_removed"] = *file.linesRemoved;
    }
    return object;
}

JJCommit RecordCoding<JJCommit>::decode(const JsonReader& reader) {
    JJCommit commit;
    commit.commitID = reader.field("commit_id").string();
    commit.changeID = reader.field("change_id").string();
    commit.parents = stringList(reader.field("parents"));
    commit.description = reader.field("description").string();
    commit.author = RecordCoding<JJSignature>::decode(reader.field("author"));
    commit.committer = RecordCoding<JJSignature>::decode(reader.field("committer"));
    commit.conflict = reader.field("conflict").boolean();
    commit.empty = reader.field("empty").boolean();
    commit.immutable = reader.field("immutable").boolean();
    commit.localBookmarks = decodeList<JJCommitRef>(reader.field("local_bookmarks"));
    commit.remoteBookmarks = decodeList<JJCommitRef>(reader.field("remote_bookmarks"));
    commit.workingCopy = reader.field("working_copy").boolean();
    commit.changedFiles = decodeList<ChangedFile>(reader.field("changed_files"));
    return commit;
}

nlohmann::json RecordCoding<JJCommit>::encode(const JJCommit& commit) {
    return {{"commit_id", commit.commitID},
            {"change_id", commit.changeID},
            {"parents", commit.parents},
            {"description", commit.description},
            {"author", RecordCoding<JJSignature>::encode(commit.author)},
            {"committer", RecordCoding<JJSignature>::encode(commit.committer)},
            {"conflict", commit.conflict},
            {"empty", commit.empty},
            {"immutable", commit.immutable},
            {"local_bookmarks", encodeList(commit.localBookmarks)},
            {"remote_bookmarks", encodeList(commit.remoteBookmarks)},
            {"working_copy", commit.workingCopy},
            {"changed_files", encodeList(commit.changedFiles)}};
}

LoggedCommit RecordCoding<LoggedCommit>::decode(const JsonReader& reader) {
    LoggedCommit logged{RecordCoding<JJCommit>::decode(reader)};
    logged.mine = reader.field("mine").boolean();
    logged.behindTrunk = reader.field("behind_trunk").boolean();
    return logged;
}

JJOp RecordCoding<JJOp>::decode(const JsonReader& reader) {
    return JJOp{reader.field("op_id").string(), reader.field("description").string(),
                reader.field("start_time").string()};
}

nlohmann::json RecordCoding<JJOp>::encode(const JJOp& op) {
    return {{"op_id", op.opID}, {"description", op.description}, {"start_time", op.startTime}};
}

JJWorkspace RecordCoding<JJWorkspace>::decode(const JsonReader& reader) {
    JJWorkspace workspace;
    workspace.name = reader.field("name").string();
    workspace.root = optionalString(reader, "root");
    workspace.commitID = reader.field("commit_id").string();
    workspace.changeID = reader.field("change_id").string();
    return workspace;
}

nlohmann::json RecordCoding<JJWorkspace>::encode(const JJWorkspace& workspace) {
    nlohmann::json object{{"name", workspace.name},
                          {"commit_id", workspace.commitID},
                          {"change_id", workspace.changeID}};
    object["root"] = workspace.root ? nlohmann::json(*workspace.root) : nlohmann::json(nullptr);
    return object;
}

namespace record_detail {

std::string decodeUuid(const JsonReader& reader) {
    const auto text = reader.string();
    if (!isValidUuid(text)) {
        throw DecodingError("data corrupted at " + reader.pathText() +
                            ": Attempted to decode UUID from invalid UUID string.");
    }
    return canonicalUuid(text);
}

}  // namespace record_detail

}  // namespace vorda
