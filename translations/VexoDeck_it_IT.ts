<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="it_IT" sourcelanguage="zh_CN">
<context>
    <name>AccessNotice</name>
    <message>
        <source>无法打开设备：请关闭正在使用它的程序，然后重新插拔设备</source>
        <translation>Impossibile aprire il dispositivo: chiudi il programma che lo sta usando, poi ricollegalo</translation>
    </message>
    <message>
        <source>没有设备的访问权限：请安装 udev 规则 70-vexo-deck.rules，然后重新插拔设备</source>
        <translation>Nessuna autorizzazione per il dispositivo: installa la regola udev 70-vexo-deck.rules, poi ricollegalo</translation>
    </message>
</context>
<context>
    <name>ApplicationUpdate</name>
    <message>
        <source>有新版本可升级，是否重启并升级软件？</source>
        <translation>È disponibile una nuova versione. Riavviare e aggiornare ora?</translation>
    </message>
    <message>
        <source>有新版本可升级，是否打开下载页面？</source>
        <translation>È disponibile una nuova versione. Aprire la pagina di download?</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 有新固件可升级，是否升级设备？</source>
        <translation>È disponibile un nuovo firmware per VEXO Mixdesk R2. Aggiornare il dispositivo ora?</translation>
    </message>
    <message>
        <source>正在检测更新</source>
        <translation>Ricerca aggiornamenti</translation>
    </message>
    <message>
        <source>新版本下载失败，请检查网络环境或稍后重试</source>
        <translation>Download della nuova versione non riuscito. Controlla la connessione o riprova più tardi</translation>
    </message>
    <message>
        <source>新版本</source>
        <translation>Nuova versione</translation>
    </message>
    <message>
        <source>下载完成，重新启动以进行升级</source>
        <translation>scaricata, riavvia per aggiornare</translation>
    </message>
    <message>
        <source>有新版本可升级</source>
        <translation>È disponibile una nuova versione</translation>
    </message>
    <message>
        <source>正在下载新版本</source>
        <translation>Download della nuova versione</translation>
    </message>
    <message>
        <source>当前已是最新版本</source>
        <translation>è aggiornato</translation>
    </message>
    <message>
        <source>重试</source>
        <translation>Riprova</translation>
    </message>
    <message>
        <source>立即更新</source>
        <translation>Aggiorna ora</translation>
    </message>
    <message>
        <source>检查更新</source>
        <translation>Cerca aggiornamenti</translation>
    </message>
</context>
<context>
    <name>AudioBoost</name>
    <message>
        <source>防爆音</source>
        <translation>Anti-clipping</translation>
    </message>
    <message>
        <source>用于限制音频信号的最大音量，开启后，动态控制话筒音量，防止突发爆音</source>
        <translation>Limita il livello massimo del microfono per evitare distorsioni dovute a picchi improvvisi.</translation>
    </message>
    <message>
        <source>音频增强</source>
        <translation>Ottimizzazione audio</translation>
    </message>
    <message>
        <source>原声</source>
        <translation>Acustico</translation>
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
        <translation>Diretta</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Utente</translation>
    </message>
    <message>
        <source>AI降噪</source>
        <translation>Riduzione rumore IA</translation>
    </message>
    <message>
        <source>弱降噪可以在消除环境噪音的同时，保持高音质收音效果。强降噪可以更好的消除环境噪音，音质损失较弱降噪略大</source>
        <translation>Il livello leggero riduce il rumore ambientale mantenendo alta la qualità audio. Il livello forte lo riduce meglio, con una perdita di qualità leggermente maggiore.</translation>
    </message>
    <message>
        <source>弱降噪</source>
        <translation>Leggero</translation>
    </message>
    <message>
        <source>强降噪</source>
        <translation>Forte</translation>
    </message>
    <message>
        <source>压缩器</source>
        <translation>Compressore</translation>
    </message>
    <message>
        <source>压缩器用于控制音频信号的动态范围，开启后，可避免音量过高导致失真或听感刺耳。</source>
        <translation>Il compressore riduce la gamma dinamica del segnale. Attivalo per evitare che i suoni forti risultino distorti o fastidiosi.</translation>
    </message>
    <message>
        <source>均衡器</source>
        <translation>Equalizzatore</translation>
    </message>
    <message>
        <source>调节不同频率的音色，让你的声音更清晰、更有个性。</source>
        <translation>Regola le diverse frequenze per una voce più chiara e personale.</translation>
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
        <translation>Silenzia nel monitor</translation>
    </message>
    <message>
        <source>直播静音</source>
        <translation>Silenzia nello stream</translation>
    </message>
</context>
<context>
    <name>AutoGainWindow</name>
    <message>
        <source>自动增益</source>
        <translation>Guadagno automatico</translation>
    </message>
    <message>
        <source>使用正常的音量讲话
倒计时 </source>
        <translation>Parla a un volume normale
Mancano </translation>
    </message>
    <message>
        <source>设置成功
增益为 </source>
        <translation>Fatto
Guadagno impostato su </translation>
    </message>
    <message>
        <source>设置成功
增益为 0 dB</source>
        <translation>Fatto
Guadagno impostato su 0&#xa0;dB</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Annulla</translation>
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
        <translation>Download della nuova versione non riuscito. Controlla la connessione o riprova più tardi</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 的固件升级没有完成</source>
        <translation>L&apos;aggiornamento del firmware del VEXO Mixdesk R2 non è stato completato</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 的固件升级没有完成，缺少固件文件</source>
        <translation>L&apos;aggiornamento del firmware del VEXO Mixdesk R2 non è stato completato e manca il file del firmware</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Annulla</translation>
    </message>
    <message>
        <source>下载固件</source>
        <translation>Scarica il firmware</translation>
    </message>
    <message>
        <source>恢复</source>
        <translation>Ripristina</translation>
    </message>
</context>
<context>
    <name>ColorArea</name>
    <message>
        <source>色相和饱和度</source>
        <translation>Tonalità e saturazione</translation>
    </message>
</context>
<context>
    <name>ColorPicker</name>
    <message>
        <source>选择颜色</source>
        <translation>Scegli colore</translation>
    </message>
</context>
<context>
    <name>ConsentQuestion</name>
    <message>
        <source>是否与VEXO分享使用数据？</source>
        <translation>Condividere i dati di utilizzo con VEXO?</translation>
    </message>
    <message>
        <source>同意</source>
        <translation>Accetto</translation>
    </message>
    <message>
        <source>不同意</source>
        <translation>Rifiuto</translation>
    </message>
</context>
<context>
    <name>CustomColorSelect</name>
    <message>
        <source>选择颜色</source>
        <translation>Scegli colore</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Reimposta</translation>
    </message>
</context>
<context>
    <name>CustomComAppBox</name>
    <message>
        <source>系统浏览器</source>
        <translation>Apri browser</translation>
    </message>
    <message>
        <source>请选择应用</source>
        <translation>Scegli un&apos;app</translation>
    </message>
</context>
<context>
    <name>CustomComAppPlus</name>
    <message>
        <source>没有正在播放声音的应用</source>
        <translation>Nessuna app sta riproducendo audio</translation>
    </message>
</context>
<context>
    <name>CustomCycColorSelect</name>
    <message>
        <source>颜色</source>
        <translation>Colore</translation>
    </message>
    <message>
        <source>添加颜色</source>
        <translation>Aggiungi colore</translation>
    </message>
    <message>
        <source>删除颜色</source>
        <translation>Elimina colore</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Reimposta</translation>
    </message>
</context>
<context>
    <name>CustomMultColorSelect</name>
    <message>
        <source>渐变</source>
        <translation>Sfumatura</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Utente</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Reimposta</translation>
    </message>
    <message>
        <source>选择颜色</source>
        <translation>Scegli colore</translation>
    </message>
</context>
<context>
    <name>CustomerWindow</name>
    <message>
        <source>客服</source>
        <translation>Assistenza</translation>
    </message>
    <message>
        <source>联系我们</source>
        <translation>Contattaci</translation>
    </message>
    <message>
        <source>周一到周日：9:00-12:00，13:00-18:00 (GMT+8)</source>
        <translation>Da lunedì a domenica: 9:00-12:00, 13:00-18:00 (GMT+8)</translation>
    </message>
    <message>
        <source>电话</source>
        <translation>Telefono</translation>
    </message>
    <message>
        <source>企业微信（请扫码添加客服）</source>
        <translation>WeCom (scansiona il codice QR per aggiungere l&apos;assistenza)</translation>
    </message>
    <message>
        <source>邮箱</source>
        <translation>E-mail</translation>
    </message>
    <message>
        <source>Support</source>
        <translation>Assistenza</translation>
    </message>
    <message>
        <source>Mon to Sun.9:00-12:00,13:00-18:30 (GMT+8)</source>
        <translation>Da lunedì a domenica: 9:00-12:00, 13:00-18:30 (GMT+8)</translation>
    </message>
    <message>
        <source>Online Support</source>
        <translation>Assistenza online</translation>
    </message>
    <message>
        <source>WhatsApp</source>
        <translation>WhatsApp</translation>
    </message>
    <message>
        <source>Email</source>
        <translation>E-mail</translation>
    </message>
</context>
<context>
    <name>DeviceSettings</name>
    <message>
        <source>话筒</source>
        <translation>Microfono</translation>
    </message>
    <message>
        <source>监听</source>
        <translation>Monitor</translation>
    </message>
    <message>
        <source>灯光</source>
        <translation>Illuminazione</translation>
    </message>
    <message>
        <source>通用</source>
        <translation>Generali</translation>
    </message>
    <message>
        <source>设备设置</source>
        <translation>Impostazioni del dispositivo</translation>
    </message>
    <message>
        <source>返回</source>
        <translation>Indietro</translation>
    </message>
</context>
<context>
    <name>DirectionRow</name>
    <message>
        <source>方向</source>
        <translation>Direzione</translation>
    </message>
    <message>
        <source>向左</source>
        <translation>A sinistra</translation>
    </message>
    <message>
        <source>向右</source>
        <translation>A destra</translation>
    </message>
</context>
<context>
    <name>EqualizerNames</name>
    <message>
        <source>原声</source>
        <translation>Acustico</translation>
    </message>
    <message>
        <source>人声增强</source>
        <translation>Enfasi voce</translation>
    </message>
    <message>
        <source>低切75Hz</source>
        <translation>Taglio bassi 75&#xa0;Hz</translation>
    </message>
    <message>
        <source>低切150Hz</source>
        <translation>Taglio bassi 150&#xa0;Hz</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Utente</translation>
    </message>
    <message>
        <source>平坦</source>
        <translation>Piatto</translation>
    </message>
    <message>
        <source>中频增强</source>
        <translation>Enfasi medi</translation>
    </message>
    <message>
        <source>低中频增强</source>
        <translation>Enfasi medio-bassi</translation>
    </message>
</context>
<context>
    <name>EqualizerPresets</name>
    <message>
        <source>均衡器</source>
        <translation>Equalizzatore</translation>
    </message>
    <message>
        <source>添加均衡器预设</source>
        <translation>Aggiungi preset dell&apos;equalizzatore</translation>
    </message>
</context>
<context>
    <name>EqualizerRow</name>
    <message>
        <source>关闭</source>
        <translation>Disattivato</translation>
    </message>
</context>
<context>
    <name>EqualizerWindow</name>
    <message>
        <source>均衡器</source>
        <translation>Equalizzatore</translation>
    </message>
    <message>
        <source>调节不同频率的音色，让你的声音更清晰、更有个性。</source>
        <translation>Regola le diverse frequenze per una voce più chiara e personale.</translation>
    </message>
    <message>
        <source>拖动曲线上的点进行调节</source>
        <translation>Trascina i punti sulla curva</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Elimina</translation>
    </message>
</context>
<context>
    <name>FirmwareRow</name>
    <message>
        <source>正在检测更新</source>
        <translation>Ricerca aggiornamenti</translation>
    </message>
    <message>
        <source>有固件可升级</source>
        <translation>– aggiornamento firmware disponibile</translation>
    </message>
    <message>
        <source>当前已是最新版本</source>
        <translation>è aggiornato</translation>
    </message>
    <message>
        <source>立即更新</source>
        <translation>Aggiorna ora</translation>
    </message>
    <message>
        <source>检查更新</source>
        <translation>Cerca aggiornamenti</translation>
    </message>
</context>
<context>
    <name>GeneralTab</name>
    <message>
        <source>通用</source>
        <translation>Generali</translation>
    </message>
    <message>
        <source>采样率</source>
        <translation>Frequenza di campionamento</translation>
    </message>
    <message>
        <source>指示灯</source>
        <translation>Spia LED</translation>
    </message>
</context>
<context>
    <name>HotkeyCard</name>
    <message>
        <source>热键</source>
        <translation>Scorciatoia</translation>
    </message>
    <message>
        <source>旋钮按键</source>
        <translation>Doppia pressione della manopola</translation>
    </message>
    <message>
        <source>当Vexo Deck 在后台运行时，双击旋钮可执行自定义功能。</source>
        <translation>Quando Vexo Deck è in background, un doppio tocco sulla manopola esegue la funzione scelta.</translation>
    </message>
    <message>
        <source>系统截图</source>
        <translation>Cattura schermata</translation>
    </message>
    <message>
        <source>系统录屏</source>
        <translation>Registrazione schermo</translation>
    </message>
</context>
<context>
    <name>KeyField</name>
    <message>
        <source>请输入键位</source>
        <translation>Inserisci una combinazione</translation>
    </message>
    <message>
        <source>正在录制按键</source>
        <translation>Registrazione dei tasti</translation>
    </message>
</context>
<context>
    <name>LightingBackground</name>
    <message>
        <source>背景</source>
        <translation>Sfondo</translation>
    </message>
    <message>
        <source>声卡接电时显示背景灯光</source>
        <translation>Illuminazione di sfondo quando il dispositivo è alimentato</translation>
    </message>
    <message>
        <source>效果</source>
        <translation>Effetto</translation>
    </message>
    <message>
        <source>静态</source>
        <translation>Statico</translation>
    </message>
    <message>
        <source>呼吸</source>
        <translation>Respiro</translation>
    </message>
    <message>
        <source>波浪</source>
        <translation>Onda</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Disattivato</translation>
    </message>
</context>
<context>
    <name>LightingIndicators</name>
    <message>
        <source>指示灯</source>
        <translation>Spia LED</translation>
    </message>
    <message>
        <source>麦克风增益</source>
        <translation>Guadagno microfono</translation>
    </message>
    <message>
        <source>监听音量</source>
        <translation>Volume monitor</translation>
    </message>
    <message>
        <source>麦克风/电脑音量监听比</source>
        <translation>Mix microfono/PC</translation>
    </message>
    <message>
        <source>静音</source>
        <translation>Muto</translation>
    </message>
</context>
<context>
    <name>LightingInput</name>
    <message>
        <source>输入</source>
        <translation>Ingresso</translation>
    </message>
    <message>
        <source>话筒输入时，根据音量大小动态显示</source>
        <translation>Segue il volume del microfono</translation>
    </message>
</context>
<context>
    <name>LightingOther</name>
    <message>
        <source>其他</source>
        <translation>Altro</translation>
    </message>
    <message>
        <source>亮度</source>
        <translation>Luminosità</translation>
    </message>
    <message>
        <source>关闭灯光</source>
        <translation>Spegni le luci</translation>
    </message>
    <message>
        <source>关闭显示屏时自动关灯</source>
        <translation>Spegni le luci quando lo schermo si spegne</translation>
    </message>
    <message>
        <source>关闭RGB灯</source>
        <translation>Spegni le luci RGB</translation>
    </message>
</context>
<context>
    <name>LightingSub1</name>
    <message>
        <source>颜色</source>
        <translation>Colore</translation>
    </message>
    <message>
        <source>单色</source>
        <translation>Tinta unita</translation>
    </message>
    <message>
        <source>幻彩</source>
        <translation>Sfumatura</translation>
    </message>
</context>
<context>
    <name>LightingSub2</name>
    <message>
        <source>颜色</source>
        <translation>Colore</translation>
    </message>
    <message>
        <source>单色</source>
        <translation>Tinta unita</translation>
    </message>
    <message>
        <source>循环</source>
        <translation>Ciclo</translation>
    </message>
    <message>
        <source>循环顺序</source>
        <translation>Ordine del ciclo</translation>
    </message>
</context>
<context>
    <name>LightingSub3</name>
    <message>
        <source>波浪</source>
        <translation>Onda</translation>
    </message>
</context>
<context>
    <name>LightnessBar</name>
    <message>
        <source>明度</source>
        <translation>Luminosità</translation>
    </message>
</context>
<context>
    <name>MainSettings</name>
    <message>
        <source>输出</source>
        <translation>USCITE</translation>
    </message>
    <message>
        <source>直播</source>
        <translation>MIX STREAM</translation>
    </message>
    <message>
        <source>监听</source>
        <translation>MIX MONITOR</translation>
    </message>
    <message>
        <source>输入</source>
        <translation>INGRESSI</translation>
    </message>
    <message>
        <source>添加应用</source>
        <translation>Aggiungi app</translation>
    </message>
    <message>
        <source>点击添加正在播放声音的应用或话筒，单独调节它在直播和监听中的音量</source>
        <translation>Fai clic per aggiungere un&apos;app che riproduce audio o un microfono e regolarne il volume nello stream e nel monitor</translation>
    </message>
</context>
<context>
    <name>MessageDialog</name>
    <message>
        <source>有新版本可升级,是否重启并升级软件?</source>
        <translation>È disponibile una nuova versione. Riavviare e aggiornare ora?</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Annulla</translation>
    </message>
    <message>
        <source>立即升级</source>
        <translation>Aggiorna ora</translation>
    </message>
</context>
<context>
    <name>MicrophoneInput</name>
    <message>
        <source>自动增益</source>
        <translation>Guadagno automatico</translation>
    </message>
    <message>
        <source>开启后，话筒音量将自动调节至最佳增益。</source>
        <translation>Se attivo, il microfono si regola automaticamente sul guadagno ottimale.</translation>
    </message>
    <message>
        <source>XLR输入</source>
        <translation>Ingresso XLR</translation>
    </message>
    <message>
        <source>话筒</source>
        <translation>Microfono</translation>
    </message>
    <message>
        <source>增益</source>
        <translation>Guadagno</translation>
    </message>
    <message>
        <source>提高增益，避免声音过小。
降低增益，避免声音失真。</source>
        <translation>Aumenta il guadagno se il suono è troppo basso.
Riduci il guadagno se il suono distorce.</translation>
    </message>
    <message>
        <source>开始检测</source>
        <translation>Avvia</translation>
    </message>
    <message>
        <source>静音</source>
        <translation>Muto</translation>
    </message>
    <message>
        <source>48V幻象电源</source>
        <translation>Alimentazione phantom 48&#xa0;V</translation>
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
        <translation>Mix microfono/PC</translation>
    </message>
    <message>
        <source>监听音量</source>
        <translation>Volume monitor</translation>
    </message>
</context>
<context>
    <name>MoreButton</name>
    <message>
        <source>更多</source>
        <translation>Altro</translation>
    </message>
    <message>
        <source>帮助</source>
        <translation>Guida</translation>
    </message>
    <message>
        <source>客服</source>
        <translation>Assistenza</translation>
    </message>
    <message>
        <source>设置</source>
        <translation>Impostazioni</translation>
    </message>
</context>
<context>
    <name>MorePopup</name>
    <message>
        <source>更多</source>
        <translation>Altro</translation>
    </message>
</context>
<context>
    <name>ResetRow</name>
    <message>
        <source>恢复出厂</source>
        <translation>Ripristino di fabbrica</translation>
    </message>
</context>
<context>
    <name>ResetWindow</name>
    <message>
        <source>恢复出厂</source>
        <translation>Ripristino di fabbrica</translation>
    </message>
    <message>
        <source>恢复出厂设置后，所有设置将恢复至默认状态，确定要恢复出厂设置吗？</source>
        <translation>Tutte le impostazioni torneranno ai valori di fabbrica. Vuoi continuare?</translation>
    </message>
    <message>
        <source>设置中</source>
        <translation>Ripristino in corso</translation>
    </message>
    <message>
        <source>成功</source>
        <translation>Completato</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Annulla</translation>
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
        <translation>Impostazioni</translation>
    </message>
    <message>
        <source>关于 Vexo Deck</source>
        <translation>Informazioni su Vexo Deck</translation>
    </message>
    <message>
        <source>自动安装最新版本</source>
        <translation>Installa automaticamente gli aggiornamenti</translation>
    </message>
    <message>
        <source>如关闭自动安装，你仍会收到新版本提示，但需手动点击“立即升级”后才可升级</source>
        <translation>Se l&apos;installazione automatica è disattivata, riceverai comunque gli avvisi delle nuove versioni, ma dovrai fare clic su «Aggiorna ora» per aggiornare</translation>
    </message>
    <message>
        <source>语言</source>
        <translation>Lingua</translation>
    </message>
    <message>
        <source>分析</source>
        <translation>Analisi</translation>
    </message>
    <message>
        <source>与VEXO分享使用数据</source>
        <translation>Condividi i dati di utilizzo con VEXO</translation>
    </message>
    <message>
        <source>隐私政策</source>
        <translation>Informativa sulla privacy</translation>
    </message>
</context>
<context>
    <name>StripHead</name>
    <message>
        <source>删除</source>
        <translation>Elimina</translation>
    </message>
    <message>
        <source>设备设置</source>
        <translation>Impostazioni del dispositivo</translation>
    </message>
</context>
<context>
    <name>SwatchGrid</name>
    <message>
        <source>添加颜色</source>
        <translation>Aggiungi colore</translation>
    </message>
</context>
<context>
    <name>ThresholdBlock</name>
    <message>
        <source>低</source>
        <translation>Basso</translation>
    </message>
    <message>
        <source>中</source>
        <translation>Medio</translation>
    </message>
    <message>
        <source>高</source>
        <translation>Alto</translation>
    </message>
</context>
<context>
    <name>TitleBar</name>
    <message>
        <source>最小化</source>
        <translation>Riduci a icona</translation>
    </message>
    <message>
        <source>还原</source>
        <translation>Ripristina</translation>
    </message>
    <message>
        <source>最大化</source>
        <translation>Ingrandisci</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Chiudi</translation>
    </message>
</context>
<context>
    <name>UpgradeView</name>
    <message>
        <source>请不要断开设备连接或关闭应用。
升级期间监听比灯亮属于正常自检，不会修改设置。</source>
        <translation>Non scollegare il dispositivo e non chiudere l&apos;app.
Durante l&apos;aggiornamento si accende la spia del mix microfono/PC: è un autotest e non modifica le impostazioni.</translation>
    </message>
    <message>
        <source>升级中，请不要断开设备连接或关闭应用</source>
        <translation>Aggiornamento in corso. Non scollegare il dispositivo e non chiudere l&apos;app</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Annulla</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>重试</source>
        <translation>Riprova</translation>
    </message>
</context>
<context>
    <name>UpgradeWindow</name>
    <message>
        <source>软件升级</source>
        <translation>Aggiornamento software</translation>
    </message>
    <message>
        <source>安装程序无法启动，请从下载页面获取最新版本</source>
        <translation>Impossibile avviare il programma di installazione. Scarica l&apos;ultima versione dalla pagina di download</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Annulla</translation>
    </message>
    <message>
        <source>打开下载页面</source>
        <translation>Apri la pagina di download</translation>
    </message>
</context>
<context>
    <name>UrlField</name>
    <message>
        <source>请输入URL</source>
        <translation>Inserisci un URL</translation>
    </message>
</context>
<context>
    <name>WelcomeLayout</name>
    <message>
        <source>正在下载最新固件</source>
        <translation>Download del firmware più recente</translation>
    </message>
    <message>
        <source>新版本下载失败，请检查网络环境或稍后重试</source>
        <translation>Download della nuova versione non riuscito. Controlla la connessione o riprova più tardi</translation>
    </message>
    <message>
        <source>正在安装最新固件</source>
        <translation>Installazione del firmware più recente</translation>
    </message>
    <message>
        <source>升级失败</source>
        <translation>Aggiornamento non riuscito</translation>
    </message>
    <message>
        <source>升级成功</source>
        <translation>Aggiornamento riuscito</translation>
    </message>
</context>
<context>
    <name>WelcomeView</name>
    <message>
        <source>VEXO 设备</source>
        <translation>Dispositivo VEXO</translation>
    </message>
    <message>
        <source>连接你的 VEXO 设备</source>
        <translation>Collega il tuo dispositivo VEXO</translation>
    </message>
    <message>
        <source>Vexo Deck 可将你的兼容设备变身为强大中枢
支持低延迟混音，体验高清音质，享受每一次声音表达</source>
        <translation>Vexo Deck trasforma il tuo dispositivo compatibile in un potente centro di controllo.
Mix a bassa latenza, suono cristallino e piena libertà di espressione.</translation>
    </message>
    <message>
        <source>已连接</source>
        <translation>Connesso</translation>
    </message>
    <message>
        <source>开启高清音质之旅</source>
        <translation>Inizia</translation>
    </message>
</context>
<context>
    <name>WindowFrame</name>
    <message>
        <source>正在安装固件，现在退出会中断升级。确定要退出吗？</source>
        <translation>L&apos;installazione del firmware è in corso. Uscire ora interrompe l&apos;aggiornamento. Uscire comunque?</translation>
    </message>
</context>
</TS>
