#ifndef NYX_TEST_CAPTURING_SINK_H
#define NYX_TEST_CAPTURING_SINK_H

#include "nyx_report/nyx_report.h"

#include <memory>
#include <string>
#include <vector>

/// Takes over what is reported, of all threads, for its lifetime, and puts the previous sink back. Nest them strictly.
///
/// \code
/// CAPTURING_SINK reports;
/// load_the_file();
/// EXPECT_EQ(reports.texts(NYX_REPORT::SEVERITY::WARNING), std::vector<std::string>{"3 lines were skipped"});
/// \endcode
class CAPTURING_SINK {
public:
    struct LINE {
        NYX_REPORT::SEVERITY severity;
        std::string text; ///< as reported, with its line end if it has one

        bool operator==(const LINE &) const = default;
    };

    CAPTURING_SINK();
    ~CAPTURING_SINK();
    CAPTURING_SINK(const CAPTURING_SINK &) = delete;
    CAPTURING_SINK &operator=(const CAPTURING_SINK &) = delete;

    /// All that was reported since the construction or the last clear(), in order.
    std::vector<LINE> lines() const;

    /// The texts of one severity.
    std::vector<std::string> texts(NYX_REPORT::SEVERITY severity) const;

    void clear();

private:
    class SINK;
    std::shared_ptr<SINK> m_sink;
    std::shared_ptr<NYX_REPORT::SINK> m_previous;
};

#endif
