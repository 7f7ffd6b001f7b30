// Does nothing but what is linked into it: ends well if the sanitizer can tell names of functions.
int main() {
  return 0;
}
