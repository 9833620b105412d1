// Compiles to nothing; its target is the one whose precompiled headers all tests use.
