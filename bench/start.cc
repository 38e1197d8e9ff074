// What a process costs that does nothing; linked once with libvu and once without.
int main() { return 0; }
