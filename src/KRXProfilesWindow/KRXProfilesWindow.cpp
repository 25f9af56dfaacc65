#include "KRXProfilesWindow.h"

KRXProfilesWindow::KRXProfilesWindow(QWidget* parent)
    : QDialog(parent)
{
}

int KRXProfilesWindow::runModal()
{
    return exec();
}

void KRXProfilesWindow::setNewHeight(int height)
{
    resize(width(), height);
}

void KRXProfilesWindow::updateProfilesBox(const QList<QPair<QString, QString>>&, const QString&) {}
void KRXProfilesWindow::initXelSettingsValues() {}
void KRXProfilesWindow::updateMultiChannelLabel(QLabel*) {}
void KRXProfilesWindow::updateKRXWindowInfo() {}
void KRXProfilesWindow::updateCodecBox(CodecBox*) {}
void KRXProfilesWindow::updateEncodingProfileBox(CodecBox*) {}
void KRXProfilesWindow::updateModifiedState() {}
void KRXProfilesWindow::updateHeight() {}
