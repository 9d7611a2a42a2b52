// The session's reads of planned rewrites: journals and inspection. None of
// them takes the command gate; a journal is read whole files at a time and
// inspection changes nothing.

#include "feature/session/RepoSession.h"

namespace vorda {

OperationJournal<LocalStackUpdatePlan>::Loaded RepoSession::loadUpdateReceipts() const {
    return OperationJournal<LocalStackUpdatePlan>(repoRoot_).load();
}

OperationJournal<FeatureInsertionPlan>::Loaded RepoSession::loadRoutingReceipts() const {
    return OperationJournal<FeatureInsertionPlan>(repoRoot_).load();
}

OperationJournal<FeatureAppendPlan>::Loaded RepoSession::loadAppendReceipts() const {
    return OperationJournal<FeatureAppendPlan>(repoRoot_).load();
}

FeatureAppendInspection RepoSession::inspectFeatureAppend(
    const OperationRecord<FeatureAppendPlan>& record) const {
    return client_->inspectFeatureAppend(record);
}

FeatureAppendRecoveryPlan RepoSession::planFeatureAppendRecovery(
    const OperationRecord<FeatureAppendPlan>& source) const {
    return client_->planFeatureAppendRecovery(source);
}

OperationJournal<FeatureAppendRecoveryPlan>::Loaded RepoSession::loadRecoveryReceipts() const {
    return OperationJournal<FeatureAppendRecoveryPlan>(repoRoot_).load();
}

OperationJournal<CompositionAttachmentPlan>::Loaded RepoSession::loadAttachmentReceipts() const {
    return OperationJournal<CompositionAttachmentPlan>(repoRoot_).load();
}

OperationJournal<CoordinatedFeatureRoutingPlan>::Loaded
RepoSession::loadCoordinatedRoutingReceipts() const {
    return OperationJournal<CoordinatedFeatureRoutingPlan>(repoRoot_).load();
}

OperationJournal<CoordinatedRoutingRecoveryPlan>::Loaded
RepoSession::loadCoordinatedRecoveryReceipts() const {
    return OperationJournal<CoordinatedRoutingRecoveryPlan>(repoRoot_).load();
}

CoordinatedRoutingInspection RepoSession::inspectCoordinatedRouting(
    const OperationRecord<CoordinatedFeatureRoutingPlan>& record) const {
    return client_->inspectCoordinatedRouting(record);
}

CoordinatedRoutingRecoveryPlan RepoSession::planCoordinatedRecovery(
    const OperationRecord<CoordinatedFeatureRoutingPlan>& source) const {
    return client_->planCoordinatedRoutingRecovery(source);
}

}  // namespace vorda
