#include "quarn/view/maskOffers.h"
#include "tests/view/ViewTest.h"

namespace {

/// Offers masks, and passes on what is new at its source.
class Follower : public TestMasks {
public:
  Follower() : TestMasks({64, 64, 64}), source(this, "data", "Data", HxData::getClassTypeId()) {}
  void update() override {
    if (source.isNew()) touch(8);
  }

  HxConnection source;
};

/// Counts the evaluations that bring news of its source.
class Reader : public HxData {
public:
  Reader() : source(this, "source", "Source", HxData::getClassTypeId()) {}
  void update() override {
    if (source.isNew()) ++news;
  }

  HxConnection source;
  int news = 0;
};

}  // namespace

TEST_F(ViewTest, DrawingTakesNoNewsFromOthers) {
  const McHandle<Follower> follower(new Follower);
  follower->add(QStringLiteral("ball"), RED, ball(32, 32, 32, 10));
  const McHandle<Reader> reader(new Reader);
  HxObjectPool::instance().add(follower, QStringLiteral("follower"));
  HxObjectPool::instance().add(reader, QStringLiteral("reader"));
  ASSERT_TRUE(follower->source.connect(masks));
  ASSERT_TRUE(reader->source.connect(follower));
  masks->fire(1);
  view->show(follower);
  view->paint(64, 64);
  const int before = reader->news;
  masks->touch();
  view->paint(64, 64);
  masks->fire(1);
  EXPECT_EQ(before + 1, reader->news);
}
