#include "jjkit/records/CommitLineDecoder.h"

#include <cstdint>
#include <cstring>

namespace vorda {
namespace {

// A cursor over one line of JSON. Every reader returns false at the first
// thing it does not expect, and the whole line is then left to the general
// decoder.
class Scanner {
  public:
    explicit Scanner(std::string_view text) : at_(text.data()), end_(text.data() + text.size()) {}

    bool consume(char expected) {
        skipSpace();
        if (at_ < end_ && *at_ == expected) {
            ++at_;
            return true;
        }
        return false;
    }

    bool word(std::string_view expected) {
        skipSpace();
        if (static_cast<std::size_t>(end_ - at_) < expected.size() ||
            std::memcmp(at_, expected.data(), expected.size()) != 0) {
            return false;
        }
        at_ += expected.size();
        return true;
    }

    bool atEnd() {
        skipSpace();
        return at_ == end_;
    }

    bool boolean(bool& value) {
        if (word("true")) {
            value = true;
            return true;
        }
        value = false;
        return word("false");
    }

    bool null() { return word("null"); }

    // A key as jj prints it: plain characters, then the colon.
    bool key(std::string_view& name) {
        if (!consume('"')) {
            return false;
        }
        const char* start = at_;
        while (at_ < end_ && *at_ != '"') {
            if (*at_ == '\\' || static_cast<unsigned char>(*at_) < 0x20) {
                return false;
            }
            ++at_;
        }
        if (at_ == end_) {
            return false;
        }
        name = std::string_view(start, static_cast<std::size_t>(at_ - start));
        ++at_;
        return consume(':');
    }

    bool string(std::string& value) {
        if (!consume('"')) {
            return false;
        }
        const char* start = at_;
        while (at_ < end_ && *at_ != '"' && *at_ != '\\') {
            if (static_cast<unsigned char>(*at_) < 0x20) {
                return false;
            }
            ++at_;
        }
        if (at_ == end_) {
            return false;
        }
        value.assign(start, static_cast<std::size_t>(at_ - start));
        return *at_++ == '"' || escapedRest(value);
    }

  private:
    void skipSpace() {
        while (at_ < end_ && (*at_ == ' ' || *at_ == '\t' || *at_ == '\n' || *at_ == '\r')) {
            ++at_;
        }
    }

    // The rest of a text after its first backslash, which was just passed.
    bool escapedRest(std::string& value) {
        bool escaped = true;
        while (at_ < end_) {
            const char next = *at_++;
            if (escaped) {
                if (!unescape(next, value)) {
                    return false;
                }
                escaped = false;
            } else if (next == '"') {
                return true;
            } else if (next == '\\') {
                escaped = true;
            } else if (static_cast<unsigned char>(next) < 0x20) {
                return false;
            } else {
                value.push_back(next);
            }
        }
        return false;
    }

    bool unescape(char letter, std::string& value) {
        switch (letter) {
            case '"':
            case '\\':
            case '/':
                value.push_back(letter);
                return true;
            case 'b':
                value.push_back('\b');
                return true;
            case 'f':
                value.push_back('\f');
                return true;
            case 'n':
                value.push_back('\n');
                return true;
            case 'r':
                value.push_back('\r');
                return true;
            case 't':
                value.push_back('\t');
                return true;
            case 'u':
                return codePoint(value);
            default:
                return false;
        }
    }

    bool hex4(std::uint32_t& unit) {
        if (end_ - at_ < 4) {
            return false;
        }
        unit = 0;
        for (int digit = 0; digit < 4; ++digit) {
            const char c = *at_++;
            const std::uint32_t nibble = c >= '0' && c <= '9'   ? c - '0'
                                         : c >= 'a' && c <= 'f' ? c - 'a' + 10
                                         : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                                : 16;
            if (nibble == 16) {
                return false;
            }
            unit = unit * 16 + nibble;
        }
        return true;
    }

    // \uXXXX, with a surrogate pair as one code point; a lone surrogate is
    // left to the general decoder, which refuses it.
    bool codePoint(std::string& value) {
        std::uint32_t point = 0;
        if (!hex4(point) || (point >= 0xDC00 && point <= 0xDFFF)) {
            return false;
        }
        if (point >= 0xD800 && point <= 0xDBFF) {
            std::uint32_t low = 0;
            if (end_ - at_ < 2 || at_[0] != '\\' || at_[1] != 'u') {
                return false;
            }
            at_ += 2;
            if (!hex4(low) || low < 0xDC00 || low > 0xDFFF) {
                return false;
            }
            point = 0x10000 + ((point - 0xD800) << 10) + (low - 0xDC00);
        }
        appendUtf8(point, value);
        return true;
    }

    static void appendUtf8(std::uint32_t point, std::string& value) {
        const auto byte = [&](std::uint32_t bits) {
            value.push_back(static_cast<char>(bits));
        };
        if (point < 0x80) {
            byte(point);
        } else if (point < 0x800) {
            byte(0xC0 | (point >> 6));
            byte(0x80 | (point & 0x3F));
        } else if (point < 0x10000) {
            byte(0xE0 | (point >> 12));
            byte(0x80 | ((point >> 6) & 0x3F));
            byte(0x80 | (point & 0x3F));
        } else {
            byte(0xF0 | (point >> 18));
            byte(0x80 | ((point >> 12) & 0x3F));
            byte(0x80 | ((point >> 6) & 0x3F));
            byte(0x80 | (point & 0x3F));
        }
    }

    const char* at_;
    const char* end_;
};

// Keys already seen in one object, by their bit: a repeated key is refused.
class SeenKeys {
  public:
    bool take(std::uint32_t bit) {
        if ((seen_ & bit) != 0) {
            return false;
        }
        seen_ |= bit;
        return true;
    }
    bool all(std::uint32_t required) const { return (seen_ & required) == required; }

  private:
    std::uint32_t seen_ = 0;
};

// `{ "key": value, ... }`, each member read by `member(key)`.
template <typename Member>
bool object(Scanner& scanner, Member&& member) {
    if (!scanner.consume('{')) {
        return false;
    }
    if (scanner.consume('}')) {
        return true;
    }
    do {
        std::string_view key;
        if (!scanner.key(key) || !member(key)) {
            return false;
        }
    } while (scanner.consume(','));
    return scanner.consume('}');
}

// `[ element, ... ]`, each element read by `element()`.
template <typename Element>
bool array(Scanner& scanner, Element&& element) {
    if (!scanner.consume('[')) {
        return false;
    }
    if (scanner.consume(']')) {
        return true;
    }
    do {
        if (!element()) {
            return false;
        }
    } while (scanner.consume(','));
    return scanner.consume(']');
}

bool strings(Scanner& scanner, std::vector<std::string>& values) {
    return array(scanner, [&] { return scanner.string(values.emplace_back()); });
}

// A bookmark target: null entries (a side of a conflict that is absent) are
// dropped.
bool targets(Scanner& scanner, std::vector<std::string>& values) {
    return array(scanner, [&] { return scanner.null() || scanner.string(values.emplace_back()); });
}

bool signature(Scanner& scanner, JJSignature& value) {
    SeenKeys seen;
    return object(scanner,
                  [&](std::string_view key) {
                      if (key == "name") {
                          return seen.take(1) && scanner.string(value.name);
                      }
                      if (key == "email") {
                          return seen.take(2) && scanner.string(value.email);
                      }
                      if (key == "timestamp") {
                          return seen.take(4) && scanner.string(value.timestamp);
                      }
                      return false;
                  }) &&
           seen.all(7);
}

bool commitRef(Scanner& scanner, JJCommitRef& ref) {
    SeenKeys seen;
    return object(scanner,
                  [&](std::string_view key) {
                      if (key == "name") {
                          return seen.take(1) && scanner.string(ref.name);
                      }
                      if (key == "remote") {
                          return seen.take(2) &&
                                 (scanner.null() || scanner.string(ref.remote.emplace()));
                      }
                      if (key == "target") {
                          return seen.take(4) && (scanner.null() || targets(scanner, ref.target));
                      }
                      if (key == "tracking_target") {
                          return seen.take(8) &&
                                 (scanner.null() || targets(scanner, ref.trackingTarget.emplace()));
                      }
                      return false;
                  }) &&
           seen.all(1);
}

bool commitRefs(Scanner& scanner, std::vector<JJCommitRef>& refs) {
    return array(scanner, [&] { return commitRef(scanner, refs.emplace_back()); });
}

// Changed files as the commit template prints them: no line counts.
bool changedFiles(Scanner& scanner, std::vector<ChangedFile>& files) {
    return array(scanner, [&] {
        ChangedFile& file = files.emplace_back();
        SeenKeys seen;
        return object(scanner,
                      [&](std::string_view key) {
                          if (key == "path") {
                              return seen.take(1) && scanner.string(file.path);
                          }
                          if (key == "status") {
                              return seen.take(2) && scanner.string(file.status);
                          }
                          if (key == "lines_added") {
                              return seen.take(4) && scanner.null();
                          }
                          if (key == "lines_removed") {
                              return seen.take(8) && scanner.null();
                          }
                          return false;
                      }) &&
               seen.all(3);
    });
}

// One member of the commit record; `facts` takes the load's two extra keys.
bool commitMember(Scanner& scanner, std::string_view key, SeenKeys& seen, JJCommit& commit,
                  LoggedCommit* facts) {
    if (key == "commit_id") {
        return seen.take(1U << 0U) && scanner.string(commit.commitID);
    }
    if (key == "change_id") {
        return seen.take(1U << 1U) && scanner.string(commit.changeID);
    }
    if (key == "parents") {
        return seen.take(1U << 2U) && strings(scanner, commit.parents);
    }
    if (key == "description") {
        return seen.take(1U << 3U) && scanner.string(commit.description);
    }
    if (key == "author") {
        return seen.take(1U << 4U) && signature(scanner, commit.author);
    }
    if (key == "committer") {
        return seen.take(1U << 5U) && signature(scanner, commit.committer);
    }
    if (key == "conflict") {
        return seen.take(1U << 6U) && scanner.boolean(commit.conflict);
    }
    if (key == "empty") {
        return seen.take(1U << 7U) && scanner.boolean(commit.empty);
    }
    if (key == "immutable") {
        return seen.take(1U << 8U) && scanner.boolean(commit.immutable);
    }
    if (key == "local_bookmarks") {
        return seen.take(1U << 9U) && commitRefs(scanner, commit.localBookmarks);
    }
    if (key == "remote_bookmarks") {
        return seen.take(1U << 10U) && commitRefs(scanner, commit.remoteBookmarks);
    }
    if (key == "working_copy") {
        return seen.take(1U << 11U) && scanner.boolean(commit.workingCopy);
    }
    if (key == "changed_files") {
        return seen.take(1U << 12U) && changedFiles(scanner, commit.changedFiles);
    }
    if (facts != nullptr && key == "mine") {
        return seen.take(1U << 13U) && scanner.boolean(facts->mine);
    }
    if (facts != nullptr && key == "behind_trunk") {
        return seen.take(1U << 14U) && scanner.boolean(facts->behindTrunk);
    }
    return false;
}

bool decode(std::string_view line, JJCommit& commit, LoggedCommit* facts) {
    constexpr std::uint32_t commitKeys = (1U << 13U) - 1;
    constexpr std::uint32_t factKeys = (1U << 13U) | (1U << 14U);
    Scanner scanner(line);
    SeenKeys seen;
    commit.parents.reserve(2);
    return object(scanner,
                  [&](std::string_view key) {
                      return commitMember(scanner, key, seen, commit, facts);
                  }) &&
           seen.all(facts != nullptr ? commitKeys | factKeys : commitKeys) && scanner.atEnd();
}

}  // namespace

bool decodeCommitLine(std::string_view line, JJCommit& commit) {
    return decode(line, commit, nullptr);
}

bool decodeCommitLine(std::string_view line, LoggedCommit& logged) {
    return decode(line, logged.commit, &logged);
}

}  // namespace vorda
