// A host application for the companion search; see LocateProbe.cpp.
extern "C" int QdxLocateProbeMain(int argc, char** argv);

int main(int argc, char** argv)
{
    return QdxLocateProbeMain(argc, argv);
}
