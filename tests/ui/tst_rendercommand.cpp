#include "support/ProcessRun.h"
#include "support/StandinFixture.h"

#include <QImage>
#include <QTemporaryDir>
#include <QTest>

// The real binary drawing its content into PNGs, with the public book from the stand-in.
class TestRenderCommand : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;

    int run(const QStringList &arguments)
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("MIREO_SITE_URL"), m_standin.url().toString());
        env.insert(QStringLiteral("MIREO_SUPABASE_URL"), m_standin.url().toString());
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_dir.filePath(QStringLiteral("config")));
        return testing::runToEnd(QStringLiteral(MIREO_PULSE_BINARY), arguments, env).exitCode;
    }

    testing::StandinFixture m_standin;

private Q_SLOTS:
    void rendersBothSurfaces()
    {
        const QString popover = m_dir.filePath(QStringLiteral("popover.png"));
        const QString onboarding = m_dir.filePath(QStringLiteral("onboarding.png"));
        QCOMPARE(run({QStringLiteral("--render-popover"), popover,
                      QStringLiteral("--render-onboarding=") + onboarding}),
                 0);
        const QImage popoverImage(popover);
        QCOMPARE(popoverImage.width(), 344 + 2 * 14);
        QVERIFY(popoverImage.height() > 150);
        QCOMPARE(QImage(onboarding).width(), 420);
    }

    void unwritableFileFails()
    {
        QCOMPARE(run({QStringLiteral("--render-popover"),
                      m_dir.filePath(QStringLiteral("missing/folder/popover.png"))}),
                 1);
    }
};

QTEST_GUILESS_MAIN(TestRenderCommand)
#include "tst_rendercommand.moc"
