// The operations of a task that say what an analysis does beyond the plain one.

#include "HVAnalysisSettings.h"

#include "HVDownloadTaskParser.h"

namespace Halvorn {

namespace {

/// Those of an analysis; for another task they go nowhere.
template <typename Value>
void Set(IHVDownloadTask& task, Value HVAnalysisSettings::*setting, Value value) {
    if (auto* const parser = dynamic_cast<HVDownloadTaskParser*>(&task))
        parser->Settings().*setting = std::move(value);
}

} // namespace

void IHVDownloadTask::SetFullAnalysis(bool full) {
    Set(*this, &HVAnalysisSettings::full, full);
}

void IHVDownloadTask::SetListDepth(int levels) {
    Set(*this, &HVAnalysisSettings::listDepth, levels);
}

void IHVDownloadTask::SetWantedEntries(std::vector<std::pair<int, int>> ranges) {
    Set(*this, &HVAnalysisSettings::ranges, std::move(ranges));
}

void IHVDownloadTask::SetNewestEntries(int count) {
    Set(*this, &HVAnalysisSettings::newest, count);
}

void IHVDownloadTask::SetEntryFilter(std::function<bool(HVListEntry const&)> filter) {
    Set(*this, &HVAnalysisSettings::filter, std::move(filter));
}

void IHVDownloadTask::SetListFunc(
    std::function<void(std::shared_ptr<IHVPlayList const>, std::vector<HVListEntry> const&)> list) {
    Set(*this, &HVAnalysisSettings::list, std::move(list));
}

void IHVDownloadTask::SetTablesWhereNoJson(bool tables) {
    Set(*this, &HVAnalysisSettings::tablesWhereNoJson, tables);
}

void IHVDownloadTask::SetThumbnailBytes(bool fetch) {
    Set(*this, &HVAnalysisSettings::thumbnailBytes, fetch);
}

void IHVDownloadTask::SetThumbnailsByHTTP(bool byHTTP) {
    Set(*this, &HVAnalysisSettings::thumbnailsByHTTP, byHTTP);
}

void IHVDownloadTask::SetWebPThumbnails(bool take) {
    Set(*this, &HVAnalysisSettings::webP, take);
}

void IHVDownloadTask::SetKeepDocuments(bool keep) {
    Set(*this, &HVAnalysisSettings::documents, keep);
}

void IHVDownloadTask::SetKeepForDownload(bool keep) {
    Set(*this, &HVAnalysisSettings::forDownload, keep);
}

void IHVDownloadTask::SetAnalysesAtOnce(int entries) {
    if (auto* const parser = dynamic_cast<HVDownloadTaskParser*>(this))
        parser->Settings().lanes.atOnce = entries;
}

void IHVDownloadTask::SetAnalysesPerSite(int entries) {
    if (auto* const parser = dynamic_cast<HVDownloadTaskParser*>(this))
        parser->Settings().lanes.perSite = entries;
}

} // namespace Halvorn
