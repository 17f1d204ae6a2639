# Writes the build's stamp: what was built, from which commit. Reproducible: the date is the
# commit's, or SOURCE_DATE_EPOCH's. Outside a checkout the commit is unknown and all zeros.
function(from_git out fallback)
  execute_process(COMMAND git -C ${SOURCE} ${ARGN} OUTPUT_VARIABLE text RESULT_VARIABLE failed
                  OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(failed OR text STREQUAL "")
    set(text ${fallback})
  endif()
  set(${out} ${text} PARENT_SCOPE)
endfunction()

string(REPLACE "." ", " version ${VERSION})
from_git(commit 0000000000000000000000000000000000000000 rev-parse HEAD)
from_git(branch unknown rev-parse --abbrev-ref HEAD)
from_git(build 0 rev-list --count HEAD)
from_git(date 1970-01-01 log -1 --format=%cs)
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  string(TIMESTAMP date "%Y-%m-%d" UTC)
endif()

set(text "// Written by the build.
#pragma once

namespace Stratum::BuildStamp {
inline constexpr int kVersion[4] = {${version}, 0};
inline constexpr char kDate[] = \"${date}\";
inline constexpr int kBuild = ${build};
inline constexpr char kCommit[] = \"${commit}\";
inline constexpr char kBranch[] = \"${branch}\";
} // namespace Stratum::BuildStamp
")
set(old "")
if(EXISTS ${OUT})
  file(READ ${OUT} old)
endif()
if(NOT old STREQUAL text)
  file(WRITE ${OUT} "${text}")
endif()
