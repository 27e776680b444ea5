<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="zh_CN">
<context>
    <name>AccessNotice</name>
    <message>
        <source>无法打开设备：请关闭正在使用它的程序，然后重新插拔设备</source>
        <translation>Das Gerät lässt sich nicht öffnen: Schließen Sie das Programm, das es verwendet, und stecken Sie das Gerät neu ein</translation>
    </message>
    <message>
        <source>没有设备的访问权限：请安装 udev 规则 70-vexo-deck.rules，然后重新插拔设备</source>
        <translation>Kein Zugriff auf das Gerät: Installieren Sie die udev-Regel 70-vexo-deck.rules und stecken Sie das Gerät neu ein</translation>
    </message>
</context>
<context>
    <name>ApplicationUpdate</name>
    <message>
        <source>有新版本可升级，是否重启并升级软件？</source>
        <translation>Eine neue Version ist verfügbar. Jetzt neu starten und aktualisieren?</translation>
    </message>
    <message>
        <source>有新版本可升级，是否打开下载页面？</source>
        <translation>Eine neue Version ist verfügbar. Download-Seite öffnen?</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 有新固件可升级，是否升级设备？</source>
        <translation>Für VEXO Mixdesk R2 ist neue Firmware verfügbar. Gerät jetzt aktualisieren?</translation>
    </message>
    <message>
        <source>正在检测更新</source>
        <translation>Updates werden gesucht</translation>
    </message>
    <message>
        <source>新版本下载失败，请检查网络环境或稍后重试</source>
        <translation>Download der neuen Version fehlgeschlagen. Prüfen Sie die Netzwerkverbindung oder versuchen Sie es später erneut</translation>
    </message>
    <message>
        <source>新版本</source>
        <translation>Neue Version</translation>
    </message>
    <message>
        <source>下载完成，重新启动以进行升级</source>
        <translation>heruntergeladen, zum Aktualisieren neu starten</translation>
    </message>
    <message>
        <source>有新版本可升级</source>
        <translation>Eine neue Version ist verfügbar</translation>
    </message>
    <message>
        <source>正在下载新版本</source>
        <translation>Download der neuen Version</translation>
    </message>
    <message>
        <source>当前已是最新版本</source>
        <translation>ist auf dem neuesten Stand</translation>
    </message>
    <message>
        <source>重试</source>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>立即更新</source>
        <translation>Jetzt aktualisieren</translation>
    </message>
    <message>
        <source>检查更新</source>
        <translation>Nach Updates suchen</translation>
    </message>
</context>
<context>
    <name>AudioBoost</name>
    <message>
        <source>防爆音</source>
        <translation>Clipping-Schutz</translation>
    </message>
    <message>
        <source>用于限制音频信号的最大音量，开启后，动态控制话筒音量，防止突发爆音</source>
        <translation>Begrenzt den maximalen Pegel des Mikrofons und verhindert, dass plötzliche Spitzen verzerren.</translation>
    </message>
    <message>
        <source>音频增强</source>
        <translation>Audio-Optimierung</translation>
    </message>
    <message>
        <source>原声</source>
        <translation>Akustik</translation>
    </message>
    <message>
        <source>播客</source>
        <translation>Podcast</translation>
    </message>
    <message>
        <source>游戏</source>
        <translation>Gaming</translation>
    </message>
    <message>
        <source>直播</source>
        <translation>Live</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Individuell</translation>
    </message>
    <message>
        <source>AI降噪</source>
        <translation>KI-Rauschunterdrückung</translation>
    </message>
    <message>
        <source>弱降噪可以在消除环境噪音的同时，保持高音质收音效果。强降噪可以更好的消除环境噪音，音质损失较弱降噪略大</source>
        <translation>Die schwache Stufe mindert Umgebungsgeräusche bei hoher Klangqualität. Die starke Stufe unterdrückt sie besser, mit etwas mehr Qualitätsverlust.</translation>
    </message>
    <message>
        <source>弱降噪</source>
        <translation>Schwach</translation>
    </message>
    <message>
        <source>强降噪</source>
        <translation>Stark</translation>
    </message>
    <message>
        <source>压缩器</source>
        <translation>Kompressor</translation>
    </message>
    <message>
        <source>压缩器用于控制音频信号的动态范围，开启后，可避免音量过高导致失真或听感刺耳。</source>
        <translation>Der Kompressor verringert den Dynamikumfang des Signals. Eingeschaltet verhindert er, dass laute Töne verzerren oder schrill klingen.</translation>
    </message>
    <message>
        <source>均衡器</source>
        <translation>Equalizer</translation>
    </message>
    <message>
        <source>调节不同频率的音色，让你的声音更清晰、更有个性。</source>
        <translation>Passen Sie die Frequenzen an, damit Ihre Stimme klarer und individueller klingt.</translation>
    </message>
</context>
<context>
    <name>AudioController</name>
    <message>
        <source>只听</source>
        <translation>Solo</translation>
    </message>
    <message>
        <source>监听静音</source>
        <translation>Im Monitor-Mix stummschalten</translation>
    </message>
    <message>
        <source>直播静音</source>
        <translation>Im Stream-Mix stummschalten</translation>
    </message>
</context>
<context>
    <name>AutoGainWindow</name>
    <message>
        <source>自动增益</source>
        <translation>Auto-Gain</translation>
    </message>
    <message>
        <source>使用正常的音量讲话
倒计时 </source>
        <translation>Sprechen Sie in normaler Lautstärke
Noch </translation>
    </message>
    <message>
        <source>设置成功
增益为 </source>
        <translation>Fertig
Gain eingestellt auf </translation>
    </message>
    <message>
        <source>设置成功
增益为 0 dB</source>
        <translation>Fertig
Gain eingestellt auf 0&#xa0;dB</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>BootloaderNotice</name>
    <message>
        <source>新版本下载失败，请检查网络环境或稍后重试</source>
        <translation>Download der neuen Version fehlgeschlagen. Prüfen Sie die Netzwerkverbindung oder versuchen Sie es später erneut</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 的固件升级没有完成</source>
        <translation>Das Firmware-Update des VEXO Mixdesk R2 wurde nicht abgeschlossen</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 的固件升级没有完成，缺少固件文件</source>
        <translation>Das Firmware-Update des VEXO Mixdesk R2 wurde nicht abgeschlossen, und seine Firmware-Datei fehlt</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>下载固件</source>
        <translation>Firmware laden</translation>
    </message>
    <message>
        <source>恢复</source>
        <translation>Wiederherstellen</translation>
    </message>
</context>
<context>
    <name>ColorArea</name>
    <message>
        <source>色相和饱和度</source>
        <translation>Farbton und Sättigung</translation>
    </message>
</context>
<context>
    <name>ColorPicker</name>
    <message>
        <source>选择颜色</source>
        <translation>Farbe auswählen</translation>
    </message>
</context>
<context>
    <name>ConsentQuestion</name>
    <message>
        <source>是否与VEXO分享使用数据？</source>
        <translation>Möchten Sie Nutzungsdaten mit VEXO teilen?</translation>
    </message>
    <message>
        <source>同意</source>
        <translation>Zustimmen</translation>
    </message>
    <message>
        <source>不同意</source>
        <translation>Ablehnen</translation>
    </message>
</context>
<context>
    <name>CustomColorSelect</name>
    <message>
        <source>选择颜色</source>
        <translation>Farbe auswählen</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Zurücksetzen</translation>
    </message>
</context>
<context>
    <name>CustomComAppBox</name>
    <message>
        <source>系统浏览器</source>
        <translation>Browser öffnen</translation>
    </message>
    <message>
        <source>请选择应用</source>
        <translation>App auswählen</translation>
    </message>
</context>
<context>
    <name>CustomComAppPlus</name>
    <message>
        <source>没有正在播放声音的应用</source>
        <translation>Keine App gibt Ton wieder</translation>
    </message>
</context>
<context>
    <name>CustomCycColorSelect</name>
    <message>
        <source>颜色</source>
        <translation>Farbe</translation>
    </message>
    <message>
        <source>添加颜色</source>
        <translation>Farbe hinzufügen</translation>
    </message>
    <message>
        <source>删除颜色</source>
        <translation>Farbe löschen</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Zurücksetzen</translation>
    </message>
</context>
<context>
    <name>CustomMultColorSelect</name>
    <message>
        <source>渐变</source>
        <translation>Verlauf</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Individuell</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Zurücksetzen</translation>
    </message>
    <message>
        <source>选择颜色</source>
        <translation>Farbe auswählen</translation>
    </message>
</context>
<context>
    <name>CustomerWindow</name>
    <message>
        <source>客服</source>
        <translation>Kundensupport</translation>
    </message>
    <message>
        <source>联系我们</source>
        <translation>Kontakt</translation>
    </message>
    <message>
        <source>周一到周日：9:00-12:00，13:00-18:00 (GMT+8)</source>
        <translation>Mo–So: 9:00–12:00, 13:00–18:00 Uhr (GMT+8)</translation>
    </message>
    <message>
        <source>电话</source>
        <translation>Telefon</translation>
    </message>
    <message>
        <source>企业微信（请扫码添加客服）</source>
        <translation>WeCom (QR-Code scannen, um den Support hinzuzufügen)</translation>
    </message>
    <message>
        <source>邮箱</source>
        <translation>E-Mail</translation>
    </message>
    <message>
        <source>Support</source>
        <translation>Support</translation>
    </message>
    <message>
        <source>Mon to Sun.9:00-12:00,13:00-18:30 (GMT+8)</source>
        <translation>Mo–So: 9:00–12:00, 13:00–18:30 Uhr (GMT+8)</translation>
    </message>
    <message>
        <source>Online Support</source>
        <translation>Online-Support</translation>
    </message>
    <message>
        <source>WhatsApp</source>
        <translation>WhatsApp</translation>
    </message>
    <message>
        <source>Email</source>
        <translation>E-Mail</translation>
    </message>
</context>
<context>
    <name>DeviceSettings</name>
    <message>
        <source>话筒</source>
        <translation>Mikrofon</translation>
    </message>
    <message>
        <source>监听</source>
        <translation>Monitor</translation>
    </message>
    <message>
        <source>灯光</source>
        <translation>Beleuchtung</translation>
    </message>
    <message>
        <source>通用</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <source>设备设置</source>
        <translation>Geräteeinstellungen</translation>
    </message>
    <message>
        <source>返回</source>
        <translation>Zurück</translation>
    </message>
</context>
<context>
    <name>DirectionRow</name>
    <message>
        <source>方向</source>
        <translation>Richtung</translation>
    </message>
    <message>
        <source>向左</source>
        <translation>Nach links</translation>
    </message>
    <message>
        <source>向右</source>
        <translation>Nach rechts</translation>
    </message>
</context>
<context>
    <name>EqualizerNames</name>
    <message>
        <source>原声</source>
        <translation>Akustik</translation>
    </message>
    <message>
        <source>人声增强</source>
        <translation>Stimm-Boost</translation>
    </message>
    <message>
        <source>低切75Hz</source>
        <translation>Low-Cut 75&#xa0;Hz</translation>
    </message>
    <message>
        <source>低切150Hz</source>
        <translation>Low-Cut 150&#xa0;Hz</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Individuell</translation>
    </message>
    <message>
        <source>平坦</source>
        <translation>Linear</translation>
    </message>
    <message>
        <source>中频增强</source>
        <translation>Mitten-Boost</translation>
    </message>
    <message>
        <source>低中频增强</source>
        <translation>Tiefmitten-Boost</translation>
    </message>
</context>
<context>
    <name>EqualizerPresets</name>
    <message>
        <source>均衡器</source>
        <translation>Equalizer</translation>
    </message>
    <message>
        <source>添加均衡器预设</source>
        <translation>Equalizer-Preset hinzufügen</translation>
    </message>
</context>
<context>
    <name>EqualizerRow</name>
    <message>
        <source>关闭</source>
        <translation>Aus</translation>
    </message>
</context>
<context>
    <name>EqualizerWindow</name>
    <message>
        <source>均衡器</source>
        <translation>Equalizer</translation>
    </message>
    <message>
        <source>调节不同频率的音色，让你的声音更清晰、更有个性。</source>
        <translation>Passen Sie die Frequenzen an, damit Ihre Stimme klarer und individueller klingt.</translation>
    </message>
    <message>
        <source>拖动曲线上的点进行调节</source>
        <translation>Punkte auf der Kurve ziehen, um sie einzustellen</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Löschen</translation>
    </message>
</context>
<context>
    <name>FirmwareRow</name>
    <message>
        <source>正在检测更新</source>
        <translation>Updates werden gesucht</translation>
    </message>
    <message>
        <source>有固件可升级</source>
        <translation>– Firmware-Update verfügbar</translation>
    </message>
    <message>
        <source>当前已是最新版本</source>
        <translation>ist auf dem neuesten Stand</translation>
    </message>
    <message>
        <source>立即更新</source>
        <translation>Jetzt aktualisieren</translation>
    </message>
    <message>
        <source>检查更新</source>
        <translation>Nach Updates suchen</translation>
    </message>
</context>
<context>
    <name>GeneralTab</name>
    <message>
        <source>通用</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <source>采样率</source>
        <translation>Abtastrate</translation>
    </message>
    <message>
        <source>指示灯</source>
        <translation>Kontrollleuchte</translation>
    </message>
</context>
<context>
    <name>HotkeyCard</name>
    <message>
        <source>热键</source>
        <translation>Hotkey</translation>
    </message>
    <message>
        <source>旋钮按键</source>
        <translation>Doppeldruck auf den Drehregler</translation>
    </message>
    <message>
        <source>当Vexo Deck 在后台运行时，双击旋钮可执行自定义功能。</source>
        <translation>Läuft Vexo Deck im Hintergrund, führt ein Doppeldruck auf den Drehregler die gewählte Funktion aus.</translation>
    </message>
    <message>
        <source>系统截图</source>
        <translation>Bildschirmfoto</translation>
    </message>
    <message>
        <source>系统录屏</source>
        <translation>Bildschirmaufnahme</translation>
    </message>
</context>
<context>
    <name>KeyField</name>
    <message>
        <source>请输入键位</source>
        <translation>Tastenkombination eingeben</translation>
    </message>
    <message>
        <source>正在录制按键</source>
        <translation>Tasten werden aufgezeichnet</translation>
    </message>
</context>
<context>
    <name>LightingBackground</name>
    <message>
        <source>背景</source>
        <translation>Hintergrund</translation>
    </message>
    <message>
        <source>声卡接电时显示背景灯光</source>
        <translation>Hintergrund leuchtet, solange das Gerät Strom hat</translation>
    </message>
    <message>
        <source>效果</source>
        <translation>Effekt</translation>
    </message>
    <message>
        <source>静态</source>
        <translation>Statisch</translation>
    </message>
    <message>
        <source>呼吸</source>
        <translation>Atmen</translation>
    </message>
    <message>
        <source>波浪</source>
        <translation>Welle</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Aus</translation>
    </message>
</context>
<context>
    <name>LightingIndicators</name>
    <message>
        <source>指示灯</source>
        <translation>Kontrollleuchte</translation>
    </message>
    <message>
        <source>麦克风增益</source>
        <translation>Mikrofon-Gain</translation>
    </message>
    <message>
        <source>监听音量</source>
        <translation>Monitor-Lautstärke</translation>
    </message>
    <message>
        <source>麦克风/电脑音量监听比</source>
        <translation>Mikrofon-/PC-Mix</translation>
    </message>
    <message>
        <source>静音</source>
        <translation>Stumm</translation>
    </message>
</context>
<context>
    <name>LightingInput</name>
    <message>
        <source>输入</source>
        <translation>Eingang</translation>
    </message>
    <message>
        <source>话筒输入时，根据音量大小动态显示</source>
        <translation>Folgt der Lautstärke des Mikrofons</translation>
    </message>
</context>
<context>
    <name>LightingOther</name>
    <message>
        <source>其他</source>
        <translation>Sonstiges</translation>
    </message>
    <message>
        <source>亮度</source>
        <translation>Helligkeit</translation>
    </message>
    <message>
        <source>关闭灯光</source>
        <translation>Beleuchtung ausschalten</translation>
    </message>
    <message>
        <source>关闭显示屏时自动关灯</source>
        <translation>Beleuchtung mit dem Bildschirm ausschalten</translation>
    </message>
    <message>
        <source>关闭RGB灯</source>
        <translation>RGB-Beleuchtung ausschalten</translation>
    </message>
</context>
<context>
    <name>LightingSub1</name>
    <message>
        <source>颜色</source>
        <translation>Farbe</translation>
    </message>
    <message>
        <source>单色</source>
        <translation>Einfarbig</translation>
    </message>
    <message>
        <source>幻彩</source>
        <translation>Verlauf</translation>
    </message>
</context>
<context>
    <name>LightingSub2</name>
    <message>
        <source>颜色</source>
        <translation>Farbe</translation>
    </message>
    <message>
        <source>单色</source>
        <translation>Einfarbig</translation>
    </message>
    <message>
        <source>循环</source>
        <translation>Zyklus</translation>
    </message>
    <message>
        <source>循环顺序</source>
        <translation>Reihenfolge</translation>
    </message>
</context>
<context>
    <name>LightingSub3</name>
    <message>
        <source>波浪</source>
        <translation>Welle</translation>
    </message>
</context>
<context>
    <name>LightnessBar</name>
    <message>
        <source>明度</source>
        <translation>Helligkeit</translation>
    </message>
</context>
<context>
    <name>MainSettings</name>
    <message>
        <source>输出</source>
        <translation>AUSGÄNGE</translation>
    </message>
    <message>
        <source>直播</source>
        <translation>STREAM-MIX</translation>
    </message>
    <message>
        <source>监听</source>
        <translation>MONITOR-MIX</translation>
    </message>
    <message>
        <source>输入</source>
        <translation>EINGÄNGE</translation>
    </message>
    <message>
        <source>添加应用</source>
        <translation>App hinzufügen</translation>
    </message>
    <message>
        <source>点击添加正在播放声音的应用或话筒，单独调节它在直播和监听中的音量</source>
        <translation>Klicken, um eine App mit Ton oder ein Mikrofon hinzuzufügen und die Lautstärke im Stream- und Monitor-Mix einzeln einzustellen</translation>
    </message>
</context>
<context>
    <name>MessageDialog</name>
    <message>
        <source>有新版本可升级,是否重启并升级软件?</source>
        <translation>Eine neue Version ist verfügbar. Jetzt neu starten und aktualisieren?</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>立即升级</source>
        <translation>Jetzt aktualisieren</translation>
    </message>
</context>
<context>
    <name>MicrophoneInput</name>
    <message>
        <source>自动增益</source>
        <translation>Auto-Gain</translation>
    </message>
    <message>
        <source>开启后，话筒音量将自动调节至最佳增益。</source>
        <translation>Wenn aktiviert, stellt sich das Mikrofon automatisch auf den optimalen Gain ein.</translation>
    </message>
    <message>
        <source>XLR输入</source>
        <translation>XLR-Eingang</translation>
    </message>
    <message>
        <source>话筒</source>
        <translation>Mikrofon</translation>
    </message>
    <message>
        <source>增益</source>
        <translation>Gain</translation>
    </message>
    <message>
        <source>提高增益，避免声音过小。
降低增益，避免声音失真。</source>
        <translation>Gain erhöhen, wenn der Ton zu leise ist.
Gain verringern, wenn der Ton verzerrt.</translation>
    </message>
    <message>
        <source>开始检测</source>
        <translation>Starten</translation>
    </message>
    <message>
        <source>静音</source>
        <translation>Stumm</translation>
    </message>
    <message>
        <source>48V幻象电源</source>
        <translation>48-V-Phantomspeisung</translation>
    </message>
</context>
<context>
    <name>MonitorTab</name>
    <message>
        <source>监听</source>
        <translation>Monitor</translation>
    </message>
    <message>
        <source>麦克风/电脑监听比</source>
        <translation>Mikrofon-/PC-Mix</translation>
    </message>
    <message>
        <source>监听音量</source>
        <translation>Monitor-Lautstärke</translation>
    </message>
</context>
<context>
    <name>MoreButton</name>
    <message>
        <source>更多</source>
        <translation>Mehr</translation>
    </message>
    <message>
        <source>帮助</source>
        <translation>Hilfe</translation>
    </message>
    <message>
        <source>客服</source>
        <translation>Kundensupport</translation>
    </message>
    <message>
        <source>设置</source>
        <translation>Einstellungen</translation>
    </message>
</context>
<context>
    <name>MorePopup</name>
    <message>
        <source>更多</source>
        <translation>Mehr</translation>
    </message>
</context>
<context>
    <name>ResetRow</name>
    <message>
        <source>恢复出厂</source>
        <translation>Werkseinstellungen</translation>
    </message>
</context>
<context>
    <name>ResetWindow</name>
    <message>
        <source>恢复出厂</source>
        <translation>Werkseinstellungen</translation>
    </message>
    <message>
        <source>恢复出厂设置后，所有设置将恢复至默认状态，确定要恢复出厂设置吗？</source>
        <translation>Alle Einstellungen werden auf den Auslieferungszustand zurückgesetzt. Möchten Sie fortfahren?</translation>
    </message>
    <message>
        <source>设置中</source>
        <translation>Wird zurückgesetzt</translation>
    </message>
    <message>
        <source>成功</source>
        <translation>Erfolgreich</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>SettingsWindow</name>
    <message>
        <source>设置</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>关于 Vexo Deck</source>
        <translation>Über Vexo Deck</translation>
    </message>
    <message>
        <source>自动安装最新版本</source>
        <translation>Updates automatisch installieren</translation>
    </message>
    <message>
        <source>如关闭自动安装，你仍会收到新版本提示，但需手动点击“立即升级”后才可升级</source>
        <translation>Ist die automatische Installation aus, werden Sie weiterhin über neue Versionen informiert, müssen zum Aktualisieren aber auf »Jetzt aktualisieren« klicken</translation>
    </message>
    <message>
        <source>语言</source>
        <translation>Sprache</translation>
    </message>
    <message>
        <source>分析</source>
        <translation>Analyse</translation>
    </message>
    <message>
        <source>与VEXO分享使用数据</source>
        <translation>Nutzungsdaten mit VEXO teilen</translation>
    </message>
    <message>
        <source>隐私政策</source>
        <translation>Datenschutzerklärung</translation>
    </message>
</context>
<context>
    <name>StripHead</name>
    <message>
        <source>删除</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>设备设置</source>
        <translation>Geräteeinstellungen</translation>
    </message>
</context>
<context>
    <name>SwatchGrid</name>
    <message>
        <source>添加颜色</source>
        <translation>Farbe hinzufügen</translation>
    </message>
</context>
<context>
    <name>ThresholdBlock</name>
    <message>
        <source>低</source>
        <translation>Niedrig</translation>
    </message>
    <message>
        <source>中</source>
        <translation>Mittel</translation>
    </message>
    <message>
        <source>高</source>
        <translation>Hoch</translation>
    </message>
</context>
<context>
    <name>TitleBar</name>
    <message>
        <source>最小化</source>
        <translation>Minimieren</translation>
    </message>
    <message>
        <source>还原</source>
        <translation>Wiederherstellen</translation>
    </message>
    <message>
        <source>最大化</source>
        <translation>Maximieren</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Schließen</translation>
    </message>
</context>
<context>
    <name>UpgradeView</name>
    <message>
        <source>请不要断开设备连接或关闭应用。
升级期间监听比灯亮属于正常自检，不会修改设置。</source>
        <translation>Trennen Sie das Gerät nicht und schließen Sie die App nicht.
Während des Updates leuchtet die Leuchte für Mikrofon-/PC-Mix: Das ist ein Selbsttest, Ihre Einstellungen bleiben erhalten.</translation>
    </message>
    <message>
        <source>升级中，请不要断开设备连接或关闭应用</source>
        <translation>Update läuft. Trennen Sie das Gerät nicht und schließen Sie die App nicht</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>重试</source>
        <translation>Wiederholen</translation>
    </message>
</context>
<context>
    <name>UpgradeWindow</name>
    <message>
        <source>软件升级</source>
        <translation>Software-Update</translation>
    </message>
    <message>
        <source>安装程序无法启动，请从下载页面获取最新版本</source>
        <translation>Das Installationsprogramm konnte nicht gestartet werden. Laden Sie die neueste Version von der Download-Seite herunter</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>打开下载页面</source>
        <translation>Download-Seite öffnen</translation>
    </message>
</context>
<context>
    <name>UrlField</name>
    <message>
        <source>请输入URL</source>
        <translation>URL eingeben</translation>
    </message>
</context>
<context>
    <name>WelcomeLayout</name>
    <message>
        <source>正在下载最新固件</source>
        <translation>Neueste Firmware wird heruntergeladen</translation>
    </message>
    <message>
        <source>新版本下载失败，请检查网络环境或稍后重试</source>
        <translation>Download der neuen Version fehlgeschlagen. Prüfen Sie die Netzwerkverbindung oder versuchen Sie es später erneut</translation>
    </message>
    <message>
        <source>正在安装最新固件</source>
        <translation>Neueste Firmware wird installiert</translation>
    </message>
    <message>
        <source>升级失败</source>
        <translation>Update fehlgeschlagen</translation>
    </message>
    <message>
        <source>升级成功</source>
        <translation>Update abgeschlossen</translation>
    </message>
</context>
<context>
    <name>WelcomeView</name>
    <message>
        <source>VEXO 设备</source>
        <translation>VEXO-Gerät</translation>
    </message>
    <message>
        <source>连接你的 VEXO 设备</source>
        <translation>VEXO-Gerät anschließen</translation>
    </message>
    <message>
        <source>Vexo Deck 可将你的兼容设备变身为强大中枢
支持低延迟混音，体验高清音质，享受每一次声音表达</source>
        <translation>Vexo Deck macht aus Ihrem kompatiblen Gerät eine leistungsstarke Zentrale.
Mischen mit geringer Latenz, kristallklarer Klang und müheloser Ausdruck für jede Stimme.</translation>
    </message>
    <message>
        <source>已连接</source>
        <translation>Verbunden</translation>
    </message>
    <message>
        <source>开启高清音质之旅</source>
        <translation>Los geht&apos;s</translation>
    </message>
</context>
<context>
    <name>WindowFrame</name>
    <message>
        <source>正在安装固件，现在退出会中断升级。确定要退出吗？</source>
        <translation>Die Firmware wird installiert. Beenden unterbricht das Update. Trotzdem beenden?</translation>
    </message>
</context>
</TS>
