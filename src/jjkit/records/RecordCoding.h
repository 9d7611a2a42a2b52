#pragma once

#include <nlohmann/json.hpp>

#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJOp.h"
#include "jjkit/records/JJWorkspace.h"
#include "jjkit/records/JsonReader.h"

namespace vorda {

/// JSON coding of the template records. The same snake-case keys serve for
/// decoding what jj prints and for encoding records into receipts.
template <typename Record>
struct RecordCoding;

template <>
struct RecordCoding<JJSignature> {
    static JJSignature decode(const JsonReader& reader);
    static nlohmann::json encode(const JJSignature& signature);
};

template <>
struct RecordCoding<JJCommitRef> {
    static JJCommitRef decode(const JsonReader& reader);
    static nlohmann::json encode(const JJCommitRef& ref);
};

template <>
struct RecordCoding<ChangedFile> {
    static ChangedFile decode(const JsonReader& reader);
    static nlohmann::json encode(const ChangedFile& file);
};

template <>
struct RecordCoding<JJCommit> {
    static JJCommit decode(const JsonReader& reader);
    static nlohmann::json encode(const JJCommit& commit);
};

/// Read only: nothing stores it.
template <>
struct RecordCoding<LoggedCommit> {
    static LoggedCommit decode(const JsonReader& reader);
};

template <>
struct RecordCoding<JJOp> {
    static JJOp decode(const JsonReader& reader);
    static nlohmann::json encode(const JJOp& op);
};

template <>
struct RecordCoding<JJWorkspace> {
    static JJWorkspace decode(const JsonReader& reader);
    static nlohmann::json encode(const JJWorkspace& workspace);
};

/// Decodes a list with the record's coding.
template <typename Record>
std::vector<Record> decodeList(const JsonReader& reader) {
    std::vector<Record> records;
    for (const auto& element : reader.array()) {
        records.push_back(RecordCoding<Record>::decode(element));
    }
    return records;
}

template <typename Record>
nlohmann::json encodeList(const std::vector<Record>& records) {
    auto list = nlohmann::json::array();
    for (const auto& record : records) {
        list.push_back(RecordCoding<Record>::encode(record));
    }
    return list;
}

}  // namespace vorda
