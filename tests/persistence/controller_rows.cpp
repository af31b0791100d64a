#include "scene/controller/const.h"
#include "tests/persistence/contract.h"

namespace tstest {
namespace {

using ts3d::controller::Const;

const ChunkCase kControllers[] = {
    chunkCase<Const<float>>(
        "ConstFloat", [] { return new Const<float>(2.5f); },
        "4E4F4E45 | 4343464C 0100 0000 04000000 | 00002040", 0, kAnyVersion),
};

INSTANTIATE_TEST_SUITE_P(Controllers, ChunkContract, testing::ValuesIn(kControllers), CaseName());

}  // namespace
}  // namespace tstest
