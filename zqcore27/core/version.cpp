#include "zqcore27/core/version.h"

#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

Version::Version(const char* name, const char* major, const char* minor, const char* release, const char* build,
                 const char* date, const char* time)
    : fName(name),
      fMajor(major),
      fMinor(minor),
      fRelease(release),
      fFull("2.7.A"),
      fBuild(build),
      fDate(date),
      fTime(time) {}

void Version::get(String& out) const {
  out.build("%Ns %Ns.%Ns%Ns  %Ns %Ns %Ns", fName, fMajor, fMinor, fRelease, fBuild, fDate, fTime);
}

}  // namespace zqcore27
