#include <msgfilter/host/projectmanager.h>

#include <algorithm>

namespace zefa::pelno {

ZefaRunTime::ZefaRunTime(std::string outReportDirectory)
    : outReportDirectory_(std::move(outReportDirectory))
{
}

std::string ZefaRunTime::getOutReportDirectory() const
{
    return outReportDirectory_;
}

void ZefaRunTime::setOutReportDirectory(const std::string& directory)
{
    outReportDirectory_ = directory;
}

ZefaImplementation::ZefaImplementation(std::string title, const std::string& outReportDirectory)
    : title_(std::move(title))
    , runTime_(std::make_unique<ZefaRunTime>(outReportDirectory))
{
}

ZefaImplementation::~ZefaImplementation() = default;

std::string ZefaImplementation::getTitle() const
{
    return title_;
}

ZefaRunTime* ZefaImplementation::getRunTime() const
{
    return runTime_.get();
}

bool ZefaImplementation::resolveReportsFileNameFromId(
    std::vector<std::string>& names, const char* id) const
{
    if (id == nullptr) {
        return false;
    }
    const auto found = reportFiles_.find(id);
    if (found == reportFiles_.end()) {
        return false;
    }
    names = found->second;
    return true;
}

void ZefaImplementation::setReportFileNames(
    const std::string& id, const std::vector<std::string>& names)
{
    reportFiles_[id] = names;
}

ZefaProject::ZefaProject(std::string name)
    : name_(std::move(name))
{
}

ZefaProject::~ZefaProject() = default;

std::string ZefaProject::getName() const
{
    return name_;
}

ZefaImplementation* ZefaProject::addImplementation(
    const std::string& title, const std::string& outReportDirectory)
{
    if (ZefaImplementation* existing = getImplementation(title)) {
        existing->getRunTime()->setOutReportDirectory(outReportDirectory);
        return existing;
    }
    implementations_.push_back(std::make_unique<ZefaImplementation>(title, outReportDirectory));
    return implementations_.back().get();
}

bool ZefaProject::removeImplementation(const std::string& title)
{
    const auto found = std::find_if(implementations_.begin(), implementations_.end(),
        [&title](const auto& i) { return i->getTitle() == title; });
    if (found == implementations_.end()) {
        return false;
    }
    if (default_ == found->get()) {
        default_ = nullptr;
    }
    implementations_.erase(found);
    return true;
}

ZefaImplementation* ZefaProject::getImplementation(const std::string& title) const
{
    for (const auto& implementation : implementations_) {
        if (implementation->getTitle() == title) {
            return implementation.get();
        }
    }
    return nullptr;
}

std::vector<std::string> ZefaProject::getImplementationTitles() const
{
    std::vector<std::string> titles;
    titles.reserve(implementations_.size());
    for (const auto& implementation : implementations_) {
        titles.push_back(implementation->getTitle());
    }
    return titles;
}

void ZefaProject::setDefaultImplementation(const std::string& title)
{
    default_ = getImplementation(title);
}

std::string ZefaProject::getDefaultImplementation() const
{
    return default_ != nullptr ? default_->getTitle() : std::string();
}

ZefaImplementation* ZefaProject::defaultImplementation() const
{
    return default_;
}

ZefaProjectManager::ZefaProjectManager() = default;

ZefaProjectManager::~ZefaProjectManager() = default;

ZefaProjectManager* ZefaProjectManager::getProjectManager()
{
    // Never destroyed: the library may still ask for it while static objects go away.
    static ZefaProjectManager* const manager = new ZefaProjectManager;
    return manager;
}

ZefaProject* ZefaProjectManager::getProject() const
{
    return project_.get();
}

ZefaImplementation* ZefaProjectManager::getDefaultImplementation() const
{
    return project_ ? project_->defaultImplementation() : nullptr;
}

ZefaProject* ZefaProjectManager::openProject(const std::string& name)
{
    project_ = std::make_unique<ZefaProject>(name);
    return project_.get();
}

void ZefaProjectManager::closeProject()
{
    project_.reset();
}

} // namespace zefa::pelno
