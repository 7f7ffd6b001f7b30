// Does nothing but what is linked into it: ends well if the sanitizer can show the names of
// functions.
int main() {
  return 0;
}
