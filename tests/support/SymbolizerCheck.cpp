// Runs only the check that is linked into it: succeeds if the sanitizer can show the names of
// functions.
int main() {
  return 0;
}
