#include "jjkit/templates/OutputParsing.h"

#include <type_traits>

#include "jjkit/client/JJError.h"
#include "jjkit/records/CommitLineDecoder.h"
#include "jjkit/records/RecordCoding.h"
#include "jjkit/support/DiagnosticLog.h"
#include "jjkit/support/Text.h"
#include "jjkit/support/Utf8.h"

namespace vorda {
namespace {

constexpr std::size_t logLineLimit = 400;

void writeParseFailure(std::string_view context, std::size_t lineNumber,
                       std::string_view description, std::string_view line) {
    std::string block = "[Vorda] parse failure (";
    block.append(context)
        .append(") line ")
        .append(std::to_string(lineNumber))
        .append(": ")
        .append(description)
        .append("\n  line: ")
        .append(truncatedForLog(line))
        .append("\n");
    DiagnosticLog::writeRaw(block);
}

// Commit lines, by far the most, take the quick way when they can; the
// general decoder has the last word on every other line.
template <typename Record>
Record decodeLine(std::string_view line) {
    if constexpr (std::is_same_v<Record, JJCommit> || std::is_same_v<Record, LoggedCommit>) {
        Record record;
        if (decodeCommitLine(line, record)) {
            return record;
        }
    }
    const auto json = JsonReader::parse(line);
    return RecordCoding<Record>::decode(JsonReader(json));
}

// `<Error: …>` placeholders replaced by null.
std::string withErrorPlaceholdersAsNull(std::string_view line) {
    static constexpr std::string_view opening = "<Error: ";
    std::string repaired;
    std::size_t position = 0;
    while (true) {
        const auto start = line.find(opening, position);
        const auto end = start == std::string_view::npos ? start : line.find('>', start);
        if (end == std::string_view::npos) {
            repaired.append(line.substr(position));
            return repaired;
        }
        repaired.append(line.substr(position, start - position)).append("null");
        position = end + 1;
    }
}

}  // namespace

std::string truncatedForLog(std::string_view line) {
    if (utf8::codePointCount(line) <= logLineLimit) {
        return std::string(line);
    }
    return std::string(utf8::prefixCodePoints(line, logLineLimit)) + "…(truncated)";
}

template <typename Record>
void NDJSONDecoder<Record>::feed(std::string_view bytes) {
    std::size_t start = 0;
    if (!pending_.empty()) {
        const auto end = bytes.find('\n');
        if (end == std::string_view::npos) {
            pending_.append(bytes);
            return;
        }
        pending_.append(bytes.substr(0, end));
        takeLine(pending_);
        pending_.clear();
        start = end + 1;
    }
    for (auto end = bytes.find('\n', start); end != std::string_view::npos;
         end = bytes.find('\n', start)) {
        takeLine(bytes.substr(start, end - start));
        start = end + 1;
    }
    pending_.assign(bytes.substr(start));
}

template <typename Record>
void NDJSONDecoder<Record>::takeLine(std::string_view line) {
    if (line.empty()) {
        return;
    }
    const std::size_t number = lineNumber_++;
    // Lines after a failure are still checked for UTF-8, which decides what
    // `finishOutput` returns.
    if (!utf8::isValid(line)) {
        sawInvalidUtf8_ = true;
        if (!failure_) {
            failure_ = Failure{number, "invalid UTF-8", "", true};
        }
        return;
    }
    if (failure_) {
        return;
    }
    try {
        records_.push_back(decodeLine<Record>(line));
    } catch (const DecodingError& error) {
        failure_ = Failure{number, error.description(), std::string(line), false};
    }
}

template <typename Record>
void NDJSONDecoder<Record>::takeRest() {
    takeLine(pending_);
    pending_.clear();
}

template <typename Record>
std::vector<Record> NDJSONDecoder<Record>::finish() {
    takeRest();
    if (failure_) {
        writeParseFailure(context_, failure_->lineNumber, failure_->description, failure_->line);
        throw JJError(JJError::ParseError{
            context_, failure_->invalidUtf8
                          ? "invalid UTF-8 in line " + std::to_string(failure_->lineNumber)
                          : failure_->description});
    }
    return std::move(records_);
}

template <typename Record>
std::vector<Record> NDJSONDecoder<Record>::finishOutput() {
    takeRest();
    return sawInvalidUtf8_ ? std::vector<Record>{} : finish();
}

template class NDJSONDecoder<JJCommit>;
template class NDJSONDecoder<LoggedCommit>;
template class NDJSONDecoder<JJOp>;

template <typename Record>
std::vector<Record> parseNDJSON(std::string_view text, std::string_view context) {
    NDJSONDecoder<Record> decoder(context);
    decoder.feed(text);
    return decoder.finish();
}

template std::vector<JJCommit> parseNDJSON<JJCommit>(std::string_view, std::string_view);
template std::vector<LoggedCommit> parseNDJSON<LoggedCommit>(std::string_view, std::string_view);
template std::vector<JJOp> parseNDJSON<JJOp>(std::string_view, std::string_view);

std::vector<JJWorkspace> parseWorkspaceList(std::string_view text) {
    std::vector<JJWorkspace> workspaces;
    for (const auto line : text::splitNonEmpty(text, '\n')) {
        try {
            workspaces.push_back(decodeLine<JJWorkspace>(line));
            continue;
        } catch (const DecodingError&) {
            // Possibly a root jj could not print; retried below.
        }
        try {
            workspaces.push_back(decodeLine<JJWorkspace>(withErrorPlaceholdersAsNull(line)));
        } catch (const DecodingError& error) {
            throw JJError(
                JJError::ParseError{"workspaces line=" + std::string(line), error.description()});
        }
    }
    return workspaces;
}

std::optional<std::string> parseCreatedChangeID(std::string_view stderrText) {
    static constexpr std::string_view prefix = "Created new commit ";
    for (const auto rawLine : text::splitNonEmpty(stderrText, '\n')) {
        const auto line = text::trimBlanks(rawLine);
        if (!text::startsWith(line, prefix)) {
            continue;
        }
        const auto tokens = text::splitNonEmpty(line.substr(prefix.size()), ' ');
        if (!tokens.empty()) {
            return std::string(tokens.front());
        }
    }
    return std::nullopt;
}

}  // namespace vorda
