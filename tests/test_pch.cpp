// The executable of no tests that builds the precompiled header shared by the test executables.
