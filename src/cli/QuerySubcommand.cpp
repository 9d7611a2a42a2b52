// `vorda-cli query`: the session's reads by name, arguments by label.

#include <functional>
#include <map>

#include "cli/Subcommands.h"
#include "feature/session/RepoSession.h"
#include "feature/wire/DiffWire.h"
#include "feature/wire/RecordWire.h"
#include "feature/wire/RewriteWire.h"
#include "feature/wire/SnapshotWire.h"

namespace vorda::cli {
namespace {

// The arguments of one query, checked label by label.
class QueryArguments {
  public:
    explicit QueryArguments(const nlohmann::json& object) : object_(object) {}

    std::string text(const std::string& label) const {
        const auto& value = at(label);
        if (!value.is_string()) {
            throw UsageError("argument \"" + label + "\" must be text");
        }
        return value.get<std::string>();
    }

    int integer(const std::string& label) const {
        const auto& value = at(label);
        if (!value.is_number_integer() || value.get<std::int64_t>() < 0 ||
            value.get<std::int64_t>() > 1'000'000) {
            throw UsageError("argument \"" + label + "\" must be a whole number from 0 to 1000000");
        }
        return value.get<int>();
    }

    std::vector<std::string> texts(const std::string& label) const {
        const auto& value = at(label);
        std::vector<std::string> result;
        if (value.is_array()) {
            for (const auto& element : value) {
                if (!element.is_string()) {
                    break;
                }
                result.push_back(element.get<std::string>());
            }
            if (result.size() == value.size()) {
                return result;
            }
        }
        throw UsageError("argument \"" + label + "\" must be a list of texts");
    }

    /// A value of the wire's own form, decoded with its coding.
    template <typename Value>
    Value decoded(const std::string& label) const {
        try {
            return Wire<Value>::decode(JsonReader(at(label), {label}));
        } catch (const DecodingError& error) {
            throw UsageError("argument \"" + label + "\": " + error.description());
        }
    }

  private:
    const nlohmann::json& at(const std::string& label) const {
        const auto found = object_.find(label);
        if (found == object_.end()) {
            throw UsageError("missing argument \"" + label + "\"");
        }
        return *found;
    }

    const nlohmann::json& object_;
};

using Query = std::function<nlohmann::json(RepoSession&, const QueryArguments&)>;

template <typename Value>
nlohmann::json wire(const Value& value) {
    return Wire<Value>::encode(value);
}

// A journal's records and warnings, with the guidance for each record as the
// repository stands now (absent operation when it cannot be read).
template <typename Plan>
nlohmann::json receiptList(const RepoSession& session,
                           const typename OperationJournal<Plan>::Loaded& loaded) {
    std::optional<std::string> current;
    try {
        current = session.client().currentOperationID();
    } catch (const std::exception&) {
        current.reset();
    }
    auto json = encodeLoadedJournal<Plan>(loaded);
    auto guidance = nlohmann::json::array();
    for (const auto& record : loaded.records) {
        guidance.push_back(record.recoveryGuidance(current));
    }
    json["guidance"] = guidance;
    return json;
}

const std::map<std::string, Query>& queries() {
    static const std::map<std::string, Query> table{
        {"loadSnapshot",
         [](RepoSession& session, const QueryArguments&) {
             return encodeSnapshot(*session.loadSnapshot());
         }},
        {"loadDiff",
         [](RepoSession& session, const QueryArguments& args) {
             return nlohmann::json(session.loadDiff(args.text("for")));
         }},
        {"loadChangedFiles",
         [](RepoSession& session, const QueryArguments& args) {
             return wire(session.loadChangedFiles(args.text("for")));
         }},
        {"loadRecentOps",
         [](RepoSession& session, const QueryArguments& args) {
             return wire(session.loadRecentOps(args.integer("limit")));
         }},
        {"loadCombinedDiff",
         [](RepoSession& session, const QueryArguments&) {
             return nlohmann::json(session.loadCombinedDiff());
         }},
        {"loadAncestors",
         [](RepoSession& session, const QueryArguments& args) {
             return wire(session.loadAncestors(args.text("ofTip"), args.integer("limit"),
                                               args.integer("skip")));
         }},
        {"loadBranchHistory",
         [](RepoSession& session, const QueryArguments& args) {
             return wire(session.loadBranchHistory(args.text("ofTip"), args.texts("excluding")));
         }},
        {"ancestorCount",
         [](RepoSession& session, const QueryArguments& args) {
             return nlohmann::json(session.ancestorCount(args.text("ofTip")));
         }},
        {"bookmarkNames",
         [](RepoSession& session, const QueryArguments& args) {
             return wire(session.bookmarkNames(args.text("matchingRevset")));
         }},
        {"isGithubAvailable",
         [](RepoSession& session, const QueryArguments&) {
             return nlohmann::json(session.isGithubAvailable());
         }},
        {"loadUpdateReceipts",
         [](RepoSession& session, const QueryArguments&) {
             return receiptList<LocalStackUpdatePlan>(session, session.loadUpdateReceipts());
         }},
        {"loadRoutingReceipts",
         [](RepoSession& session, const QueryArguments&) {
             return receiptList<FeatureInsertionPlan>(session, session.loadRoutingReceipts());
         }},
        {"loadAppendReceipts",
         [](RepoSession& session, const QueryArguments&) {
             return receiptList<FeatureAppendPlan>(session, session.loadAppendReceipts());
         }},
        {"inspectFeatureAppend",
         [](RepoSession& session, const QueryArguments& args) {
             const auto inspection = session.inspectFeatureAppend(
                 args.decoded<OperationRecord<FeatureAppendPlan>>("record"));
             auto json = wire(inspection);
             json["guidance"] = inspection.guidance();
             return json;
         }},
        {"planFeatureAppendRecovery",
         [](RepoSession& session, const QueryArguments& args) {
             return wire(session.planFeatureAppendRecovery(
                 args.decoded<OperationRecord<FeatureAppendPlan>>("record")));
         }},
        {"loadRecoveryReceipts",
         [](RepoSession& session, const QueryArguments&) {
             return receiptList<FeatureAppendRecoveryPlan>(session, session.loadRecoveryReceipts());
         }},
        {"loadAttachmentReceipts",
         [](RepoSession& session, const QueryArguments&) {
             return receiptList<CompositionAttachmentPlan>(session,
                                                           session.loadAttachmentReceipts());
         }},
        {"loadCoordinatedRoutingReceipts",
         [](RepoSession& session, const QueryArguments&) {
             return receiptList<CoordinatedFeatureRoutingPlan>(
                 session, session.loadCoordinatedRoutingReceipts());
         }},
        {"loadCoordinatedRecoveryReceipts",
         [](RepoSession& session, const QueryArguments&) {
             return receiptList<CoordinatedRoutingRecoveryPlan>(
                 session, session.loadCoordinatedRecoveryReceipts());
         }},
        {"inspectCoordinatedRouting",
         [](RepoSession& session, const QueryArguments& args) {
             auto json = wire(session.inspectCoordinatedRouting(
                 args.decoded<OperationRecord<CoordinatedFeatureRoutingPlan>>("record")));
             json["guidance"] = CoordinatedRoutingInspection::guidance();
             return json;
         }},
        {"planCoordinatedRecovery",
         [](RepoSession& session, const QueryArguments& args) {
             return wire(session.planCoordinatedRecovery(
                 args.decoded<OperationRecord<CoordinatedFeatureRoutingPlan>>("record")));
         }},
        {"loadRebaseConflict",
         [](RepoSession& session, const QueryArguments& args) {
             return wire(session.loadRebaseConflict(args.text("changeID")));
         }},
    };
    return table;
}

}  // namespace

int runQuery(const CliOptions& options) {
    if (options.positional.empty() || options.positional.size() > 2) {
        throw UsageError("query needs a name and at most one JSON object of arguments");
    }
    const auto found = queries().find(options.positional.front());
    if (found == queries().end()) {
        throw UsageError("unknown query \"" + options.positional.front() + "\"");
    }
    nlohmann::json arguments = nlohmann::json::object();
    if (options.positional.size() == 2) {
        try {
            arguments = JsonReader::parse(options.positional[1]);
        } catch (const DecodingError& error) {
            throw UsageError(std::string("the arguments are not JSON: ") + error.what());
        }
        if (!arguments.is_object()) {
            throw UsageError("the arguments must be one JSON object keyed by label");
        }
    }
    const auto session = RepoSession::open(options.repositoryRoot());
    try {
        printLine(found->second(*session, QueryArguments(arguments)));
        return 0;
    } catch (const UsageError&) {
        throw;
    } catch (const std::exception& error) {
        printLine(nlohmann::json{{"error", {{"message", error.what()}}}});
        return 1;
    }
}

}  // namespace vorda::cli
