// The program that owns the precompiled headers of the tests; it does nothing.
//
// Room: tests. An executable, because headers are precompiled for code of one kind and tests are
// executables.
int main() {}
