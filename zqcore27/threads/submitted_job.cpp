#include "zqcore27/threads/submitted_job.h"

inline namespace zqcore27 {

RequestCancelled::RequestCancelled() = default;
RequestCancelled::RequestCancelled(const RequestCancelled&) = default;
RequestCancelled& RequestCancelled::operator=(const RequestCancelled&) = default;
RequestCancelled::~RequestCancelled() = default;
const char* RequestCancelled::what() const noexcept { return "the request was cancelled before it ran"; }

SubmittedJob::SubmittedJob() = default;
SubmittedJob::~SubmittedJob() = default;

}  // namespace zqcore27
