# The one list of rooms. Every build file, ./dev, the rules and the site take their rooms from here.

# Rooms with operations: each has a folder in src, tests/rooms, bench and fuzz, a public header and a page.
# Those of the core library come first.
set(KO_CORE_ROOMS core pipeline)
set(KO_IMPROC_ROOMS masks stats tone pixel convert filters median raw demosaic snake)
set(KO_OPERATION_ROOMS ${KO_CORE_ROOMS} ${KO_IMPROC_ROOMS})

# Rooms of rules that operations use. They export nothing; `simd` holds headers alone, which the tests of the
# kernels that include them cover.
set(KO_RULE_ROOMS base simd)
