#pragma once

#include <msgfilter/host/host_export.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace zefa::pelno {

/// The run-time settings of an implementation; the library asks only where its reports go.
class MSGFILTER_HOST_EXPORT ZefaRunTime {
public:
    explicit ZefaRunTime(std::string outReportDirectory = {});

    std::string getOutReportDirectory() const;
    void setOutReportDirectory(const std::string& directory);

private:
    std::string outReportDirectory_;
};

/// One design implementation of the project: a title, its run time and the report files
/// it knows by report id.
///
/// Example: after `setReportFileNames("Report_MessageFilter", {"filters.xml"})`,
/// `resolveReportsFileNameFromId(names, "Report_MessageFilter")` returns true with
/// names == {"filters.xml"}; for an id never set it returns false and leaves names alone.
class MSGFILTER_HOST_EXPORT ZefaImplementation {
public:
    ZefaImplementation(std::string title, const std::string& outReportDirectory);
    ~ZefaImplementation();

    ZefaImplementation(const ZefaImplementation&) = delete;
    ZefaImplementation& operator=(const ZefaImplementation&) = delete;

    std::string getTitle() const;
    /// Never null; owned by the implementation.
    ZefaRunTime* getRunTime() const;

    /// Fills `names` with the file names set for `id` and returns true; returns false,
    /// leaving `names` untouched, for a null id or an id that was never set.
    bool resolveReportsFileNameFromId(std::vector<std::string>& names, const char* id) const;

    /// Sets the report file names of `id` (an empty list is a valid answer too).
    void setReportFileNames(const std::string& id, const std::vector<std::string>& names);

private:
    std::string title_;
    std::unique_ptr<ZefaRunTime> runTime_;
    std::map<std::string, std::vector<std::string>> reportFiles_;
};

/// The open project: its implementations in the order they were added and the default one.
class MSGFILTER_HOST_EXPORT ZefaProject {
public:
    explicit ZefaProject(std::string name);
    ~ZefaProject();

    ZefaProject(const ZefaProject&) = delete;
    ZefaProject& operator=(const ZefaProject&) = delete;

    std::string getName() const;

    /// Adds an implementation and returns it. A title that exists already returns that
    /// implementation, with its output report directory set to the given one.
    ZefaImplementation* addImplementation(
        const std::string& title, const std::string& outReportDirectory);
    /// Removes and deletes an implementation; if it was the default, there is no default
    /// any more. Returns false for an unknown title.
    bool removeImplementation(const std::string& title);
    /// The implementation of that title, or null.
    ZefaImplementation* getImplementation(const std::string& title) const;
    /// The titles in the order the implementations were added.
    std::vector<std::string> getImplementationTitles() const;

    /// Makes the implementation of that title the default (an empty title is a title like
    /// any other); an unknown title leaves the project without a default.
    void setDefaultImplementation(const std::string& title);
    /// The default implementation's title; empty when there is none.
    std::string getDefaultImplementation() const;

private:
    friend class ZefaProjectManager;
    ZefaImplementation* defaultImplementation() const;

    std::string name_;
    std::vector<std::unique_ptr<ZefaImplementation>> implementations_;
    ZefaImplementation* default_ = nullptr;
};

/// The process-wide project manager. Opening and closing projects publishes nothing:
/// whoever drives it announces "project" and "implement" events on the bus itself.
///
/// Pointers to a project and its implementations stay valid until the project is closed
/// (or the implementation removed).
class MSGFILTER_HOST_EXPORT ZefaProjectManager {
public:
    /// Never null.
    static ZefaProjectManager* getProjectManager();

    /// The open project, null while none is open.
    ZefaProject* getProject() const;
    /// The open project's default implementation; null without project or default.
    ZefaImplementation* getDefaultImplementation() const;

    /// Opens a new, empty project (closing the open one first) and returns it.
    ZefaProject* openProject(const std::string& name);
    /// Closes and deletes the open project, if any.
    void closeProject();

    ZefaProjectManager(const ZefaProjectManager&) = delete;
    ZefaProjectManager& operator=(const ZefaProjectManager&) = delete;

private:
    ZefaProjectManager();
    ~ZefaProjectManager();

    std::unique_ptr<ZefaProject> project_;
};

} // namespace zefa::pelno
