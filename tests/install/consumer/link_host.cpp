// Links KF::host with nothing of its own: the link line alone proves the package is complete.
int main()
{
    return 0;
}
