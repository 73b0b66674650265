#pragma once
// What the tests of downloads share: items over the scripted tool, and the folders that they end up in.

#include "ScriptedTool.h"

#include "HVDownloadFormat.h"
#include "HVDownloadSubtitle.h"
#include "HVJsonObjectFormat.h"
#include "IHVFileProvider.h"
#include "IHVLogConfig.h"

#include <set>

class Downloads : public ScriptedTool {
protected:
    Downloads() {
        std::filesystem::create_directory(out_);
        Halvorn::IHVLogConfig::SetHandler([](auto, auto const&) {});
    }
    ~Downloads() override { Halvorn::IHVLogConfig::SetHandler(nullptr); }

    static std::shared_ptr<Halvorn::IHVDownloadItem> Item(std::string const& url, std::string const& title) {
        using namespace Halvorn;
        auto format = std::make_shared<HVDownloadFormat>();
        EXPECT_TRUE(
            format->LoadFromJsonObject(std::make_shared<HVJsonObjectFormat>(IHVJsonReader::ReadJsonString(
                R"({"format_id":"18","ext":"mp4","vcodec":"h264","acodec":"aac"})", nullptr))));
        auto item = IHVDownloadItem::MallocDownloadItem({format}, url);
        item->SetFileName(title);
        return item;
    }
    static std::set<std::string> FilesIn(std::string const& folder) {
        std::set<std::string> names;
        for (auto const& entry : std::filesystem::directory_iterator(folder))
            if (entry.path().filename().string().front() != '.') // the temporary folder's own marks
                names.insert(entry.path().filename());
        return names;
    }
    /// What a run left under its temporary name goes once its child is gone.
    static bool NothingLeft() {
        return Eventually([] { return FilesIn(Halvorn::IHVFileProvider::GetTmpPath()).empty(); });
    }

    std::string const out_ = Path("out");
};
