// Carries the precompiled headers that every test program uses; the program itself is never run.
int main()
{
    return 0;
}
