# KO_LICENCE is the SPDX identifier in the file LICENCE, the one place that says under which licence koimproc is.
file(STRINGS "${PROJECT_SOURCE_DIR}/LICENCE" KO_LICENCE REGEX "^SPDX-License-Identifier: .+")
string(REPLACE "SPDX-License-Identifier: " "" KO_LICENCE "${KO_LICENCE}")
