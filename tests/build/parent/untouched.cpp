// Has nothing to do with the library: compiled and linked as if that were not there.
int main() {
  return 0;
}
