#include "kTestSupport.h"

#include <cstdlib>
#include <filesystem>

namespace ktest
{
CountingAlloc::CountingAlloc() { EXPECT_EQ(kCountingAlloc_Construct(&m_alloc, kNULL, kNULL), kOK); }

CountingAlloc::~CountingAlloc()
{
    EXPECT_EQ(kCountingAlloc_Outstanding(m_alloc), 0u) << "allocations leaked";
    EXPECT_EQ(kCountingAlloc_Allocated(m_alloc), 0u) << "bytes leaked";
    kObject_Destroy(m_alloc);
}

kSize ExpectCleanFailures(const std::function<kStatus(kAlloc, kObject*)>& build, kSize maxSteps)
{
    for (kSize step = 0; step < maxSteps; ++step)
    {
        CountingAlloc alloc;
        kCountingAlloc_SetFailAfter(alloc, step);
        kObject handle = kNULL;
        kStatus status = build(alloc, &handle);
        if (kSuccess(status))
        {
            EXPECT_NE(handle, kNULL);
            EXPECT_EQ(kObject_Destroy(handle), kOK);
            return step;
        }
        EXPECT_EQ(handle, kNULL) << "failure after " << step << " allocations left a handle";
        EXPECT_EQ(alloc.Outstanding(), 0u) << "failure after " << step << " allocations leaked";
        if (alloc.Outstanding() != 0 || handle != kNULL) return step;
    }
    ADD_FAILURE() << "construction never succeeded";
    return maxSteps;
}

LogCapture::LogCapture() { kLog_SetSink(&LogCapture::Sink, this); }
LogCapture::~LogCapture() { kLog_SetSink(kNULL, kNULL); }

void LogCapture::Sink(void* context, const kChar* message)
{
    static_cast<LogCapture*>(context)->m_lines.emplace_back(message);
}

bool LogCapture::Contains(const std::string& text) const
{
    for (const std::string& line : m_lines)
        if (line.find(text) != std::string::npos) return true;
    return false;
}

namespace
{
int s_castFails = 0;
std::string s_castFile;
void OnCastFail(const kChar* file, k32s) { ++s_castFails, s_castFile = file; }
}  // namespace

CastFailCapture::CastFailCapture()
{
    s_castFails = 0;
    s_castFile.clear();
    kBasisLib_SetCastFailHandler(OnCastFail);
}
CastFailCapture::~CastFailCapture() { kBasisLib_SetCastFailHandler(kNULL); }
int CastFailCapture::Count() const { return s_castFails; }
const std::string& CastFailCapture::LastFile() const { return s_castFile; }

namespace
{
int s_asserts = 0;
std::string s_assertExpression;
void OnAssert(const kChar*, k32s, const kChar* expression)
{
    ++s_asserts;
    s_assertExpression = expression;
}
}  // namespace

AssertCapture::AssertCapture()
{
    s_asserts = 0;
    s_assertExpression.clear();
    kBasisLib_SetAssertHandler(OnAssert);
}
AssertCapture::~AssertCapture() { kBasisLib_SetAssertHandler(kNULL); }
int AssertCapture::Count() const { return s_asserts; }
const std::string& AssertCapture::LastExpression() const { return s_assertExpression; }

TempDir::TempDir()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "ksolan-test-XXXXXX").string();
    m_path = mkdtemp(pattern.data()) ? pattern : std::string();
    EXPECT_FALSE(m_path.empty());
}

TempDir::~TempDir()
{
    std::error_code ec;
    if (!m_path.empty()) std::filesystem::remove_all(m_path, ec);
}
}  // namespace ktest
