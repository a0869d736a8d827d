#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>

#include "LogRecord.hpp"
#include "Pictures.hpp"

#include <QGuiApplication>

#include <iostream>
#include <optional>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace
{
int testCasesRun = 0;
int logFailures = 0;

/// Checks the log of every run of a test case: doctest enters one with subcases once for each of them.
class LogListener final : public doctest::IReporter
{
public:
    explicit LogListener(const doctest::ContextOptions&) {}

    void report_query(const doctest::QueryData&) override {}
    void test_run_start() override {}
    void test_run_end(const doctest::TestRunStats&) override {}
    void test_case_start(const doctest::TestCaseData& data) override
    {
        // What a thread logged after the last test ended belongs to no test, and is not lost for that.
        check("between tests");
        m_name = data.m_name;
        TestSupport::setCurrentTest(data.m_name);
        ++testCasesRun;
    }
    void test_case_reenter(const doctest::TestCaseData&) override { check(m_name); }
    void test_case_end(const doctest::CurrentTestCaseStats&) override { check(m_name); }
    void test_case_exception(const doctest::TestCaseException&) override {}
    void subcase_start(const doctest::SubcaseSignature&) override {}
    void subcase_end() override {}
    void log_assert(const doctest::AssertData&) override {}
    void log_message(const doctest::MessageData&) override {}
    void test_case_skipped(const doctest::TestCaseData&) override {}

private:
    static void check(const char* testName)
    {
        for (const std::string& complaint : TestSupport::logComplaints()) {
            ++logFailures;
            std::cerr << "LOG FAILURE in \"" << testName << "\"\n  " << complaint << "\n";
        }
        TestSupport::resetLog();
    }

    const char* m_name = "";
};

REGISTER_LISTENER("log", 1, LogListener);

/// Makes the application. Qt's offscreen platform never frees its screen: that is not to be held against the tests.
void makeApplication(std::optional<QGuiApplication>& application, int& argc, char** argv)
{
#ifdef __SANITIZE_ADDRESS__
    const __lsan::ScopedDisabler disabler;
#endif
    application.emplace(argc, argv);
}
}

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    std::optional<QGuiApplication> application;
    makeApplication(application, argc, argv);
    TestSupport::installLogCapture();

    doctest::Context context(argc, argv);
    const int result = context.run();
    if (context.shouldExit())
        return result;
    if (testCasesRun == 0) {
        std::cerr << "FAILURE: no test case ran; the filter matches none\n";
        return 1;
    }
    if (logFailures > 0) {
        std::cerr << "FAILURE: " << logFailures << " log line(s) unannounced or missing, see above\n";
        return 1;
    }
    return result;
}
