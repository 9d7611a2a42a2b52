#include "jjkit/templates/OutputParsing.h"

#include "jjkit/client/JJError.h"
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

template <typename Record>
Record decodeLine(std::string_view line) {
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
std::vector<Record> parseNDJSON(std::string_view text, std::string_view context) {
    std::vector<Record> records;
    const auto lines = text::splitNonEmpty(text, '\n');
    records.reserve(lines.size());
    for (std::size_t number = 0; number < lines.size(); ++number) {
        const auto line = lines[number];
        if (!utf8::isValid(line)) {
            writeParseFailure(context, number, "invalid UTF-8", utf8::decodeOrEmpty(line));
            throw JJError(JJError::ParseError{std::string(context),
                                              "invalid UTF-8 in line " + std::to_string(number)});
        }
        try {
            records.push_back(decodeLine<Record>(line));
        } catch (const DecodingError& error) {
            writeParseFailure(context, number, error.description(), line);
            throw JJError(JJError::ParseError{std::string(context), error.description()});
        }
    }
    return records;
}

template std::vector<JJCommit> parseNDJSON<JJCommit>(std::string_view, std::string_view);
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
