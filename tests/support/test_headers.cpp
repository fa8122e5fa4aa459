// A target needs a source; the headers that most tests include are precompiled for it, and used by
// all: see velkor_precompile_test_headers().
