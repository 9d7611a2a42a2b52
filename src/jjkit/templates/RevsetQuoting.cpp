#include "jjkit/templates/RevsetQuoting.h"

#include <set>

namespace vorda {

std::string revsetQuoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char character : text) {
        if (character == '\\' || character == '"') {
            quoted.push_back('\\');
        }
        quoted.push_back(character);
    }
    quoted.push_back('"');
    return quoted;
}

namespace {

bool isSymbolPart(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '_' || character == '/';
}

// jj's symbol grammar: parts of letters, digits, "_" and "/", joined by
// single ".", "-" or "+".
bool isPlainSymbol(std::string_view name) {
    bool afterSeparator = true;
    for (const char character : name) {
        if (isSymbolPart(character)) {
            afterSeparator = false;
        } else if ((character == '.' || character == '-' || character == '+') && !afterSeparator) {
            afterSeparator = true;
        } else {
            return false;
        }
    }
    return !afterSeparator;
}

}  // namespace

std::string nameArgument(std::string_view name) {
    return isPlainSymbol(name) ? std::string(name) : revsetQuoted(name);
}

std::string exactNamePattern(std::string_view name) {
    return "exact:" + revsetQuoted(name);
}

std::string bookmarkSetRevset(std::string_view name) {
    return "bookmarks(exact:" + revsetQuoted(name) + ")";
}

std::string bookmarkTipRevset(std::string_view name) {
    return "latest(" + bookmarkSetRevset(name) + ")";
}

std::string commitIDRevset(std::string_view commitID) {
    return "commit_id(" + std::string(commitID) + ")";
}

std::string descriptionSubstringRevset(std::string_view text) {
    return "description(substring:" + revsetQuoted(text) + ")";
}

std::optional<std::string> missingParentRevset(const std::vector<JJCommit>& commits) {
    std::set<std::string> loaded;
    for (const auto& commit : commits) {
        loaded.insert(commit.commitID);
    }
    std::set<std::string> missing;
    for (const auto& commit : commits) {
        for (const auto& parent : commit.parents) {
            if (!loaded.contains(parent)) {
                missing.insert(parent);
            }
        }
    }
    if (missing.empty()) {
        return std::nullopt;
    }
    std::string revset;
    for (const auto& id : missing) {
        if (!revset.empty()) {
            revset.append(" | ");
        }
        revset.append("commit_id(").append(revsetQuoted(id)).append(")");
    }
    return revset;
}

std::vector<std::string> rootFilesets(const std::vector<std::string>& paths) {
    std::vector<std::string> filesets;
    filesets.reserve(paths.size());
    for (const auto& path : paths) {
        filesets.push_back("root:" + revsetQuoted(path));
    }
    return filesets;
}

}  // namespace vorda
