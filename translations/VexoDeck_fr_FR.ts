<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR" sourcelanguage="zh_CN">
<context>
    <name>AccessNotice</name>
    <message>
        <source>无法打开设备：请关闭正在使用它的程序，然后重新插拔设备</source>
        <translation>Impossible d&apos;ouvrir l&apos;appareil&#xa0;: fermez le programme qui l&apos;utilise, puis rebranchez l&apos;appareil</translation>
    </message>
    <message>
        <source>没有设备的访问权限：请安装 udev 规则 70-vexo-deck.rules，然后重新插拔设备</source>
        <translation>Accès à l&apos;appareil refusé&#xa0;: installez la règle udev 70-vexo-deck.rules, puis rebranchez l&apos;appareil</translation>
    </message>
</context>
<context>
    <name>ApplicationUpdate</name>
    <message>
        <source>有新版本可升级，是否重启并升级软件？</source>
        <translation>Une nouvelle version est disponible. Redémarrer et mettre à jour ?</translation>
    </message>
    <message>
        <source>有新版本可升级，是否打开下载页面？</source>
        <translation>Une nouvelle version est disponible. Ouvrir la page de téléchargement ?</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 有新固件可升级，是否升级设备？</source>
        <translation>Un nouveau firmware est disponible pour VEXO Mixdesk R2. Mettre à jour l&apos;appareil ?</translation>
    </message>
    <message>
        <source>正在检测更新</source>
        <translation>Recherche de mises à jour</translation>
    </message>
    <message>
        <source>新版本下载失败，请检查网络环境或稍后重试</source>
        <translation>Échec du téléchargement de la nouvelle version. Vérifiez votre connexion ou réessayez plus tard</translation>
    </message>
    <message>
        <source>新版本</source>
        <translation>Nouvelle version</translation>
    </message>
    <message>
        <source>下载完成，重新启动以进行升级</source>
        <translation>téléchargée, redémarrez pour mettre à jour</translation>
    </message>
    <message>
        <source>有新版本可升级</source>
        <translation>Une nouvelle version est disponible</translation>
    </message>
    <message>
        <source>正在下载新版本</source>
        <translation>Téléchargement de la nouvelle version</translation>
    </message>
    <message>
        <source>当前已是最新版本</source>
        <translation>est à jour</translation>
    </message>
    <message>
        <source>重试</source>
        <translation>Réessayer</translation>
    </message>
    <message>
        <source>立即更新</source>
        <translation>Mettre à jour</translation>
    </message>
    <message>
        <source>检查更新</source>
        <translation>Rechercher des mises à jour</translation>
    </message>
</context>
<context>
    <name>AudioBoost</name>
    <message>
        <source>防爆音</source>
        <translation>Anti-saturation</translation>
    </message>
    <message>
        <source>用于限制音频信号的最大音量，开启后，动态控制话筒音量，防止突发爆音</source>
        <translation>Limite le niveau maximal du micro pour éviter que les crêtes soudaines ne saturent.</translation>
    </message>
    <message>
        <source>音频增强</source>
        <translation>Amélioration audio</translation>
    </message>
    <message>
        <source>原声</source>
        <translation>Acoustique</translation>
    </message>
    <message>
        <source>播客</source>
        <translation>Podcast</translation>
    </message>
    <message>
        <source>游戏</source>
        <translation>Jeu</translation>
    </message>
    <message>
        <source>直播</source>
        <translation>Direct</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Personnalisé</translation>
    </message>
    <message>
        <source>AI降噪</source>
        <translation>Réduction de bruit IA</translation>
    </message>
    <message>
        <source>弱降噪可以在消除环境噪音的同时，保持高音质收音效果。强降噪可以更好的消除环境噪音，音质损失较弱降噪略大</source>
        <translation>Le mode léger réduit le bruit ambiant tout en préservant la qualité du son. Le mode fort le réduit davantage, avec une perte de qualité un peu plus sensible.</translation>
    </message>
    <message>
        <source>弱降噪</source>
        <translation>Léger</translation>
    </message>
    <message>
        <source>强降噪</source>
        <translation>Fort</translation>
    </message>
    <message>
        <source>压缩器</source>
        <translation>Compresseur</translation>
    </message>
    <message>
        <source>压缩器用于控制音频信号的动态范围，开启后，可避免音量过高导致失真或听感刺耳。</source>
        <translation>Le compresseur réduit la plage dynamique du signal. Activez-le pour éviter que les sons forts ne saturent ou n&apos;agressent l&apos;oreille.</translation>
    </message>
    <message>
        <source>均衡器</source>
        <translation>Égaliseur</translation>
    </message>
    <message>
        <source>调节不同频率的音色，让你的声音更清晰、更有个性。</source>
        <translation>Ajustez les différentes fréquences pour une voix plus claire et plus personnelle.</translation>
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
        <translation>Couper dans l&apos;écoute</translation>
    </message>
    <message>
        <source>直播静音</source>
        <translation>Couper dans le stream</translation>
    </message>
</context>
<context>
    <name>AutoGainWindow</name>
    <message>
        <source>自动增益</source>
        <translation>Gain automatique</translation>
    </message>
    <message>
        <source>使用正常的音量讲话
倒计时 </source>
        <translation>Parlez à un volume normal
Temps restant&#xa0;: </translation>
    </message>
    <message>
        <source>设置成功
增益为 </source>
        <translation>Réglage réussi
Gain réglé sur </translation>
    </message>
    <message>
        <source>设置成功
增益为 0 dB</source>
        <translation>Réglage réussi
Gain réglé sur 0&#xa0;dB</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Annuler</translation>
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
        <translation>Échec du téléchargement de la nouvelle version. Vérifiez votre connexion ou réessayez plus tard</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 的固件升级没有完成</source>
        <translation>La mise à jour du firmware du VEXO Mixdesk R2 n&apos;est pas terminée</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 的固件升级没有完成，缺少固件文件</source>
        <translation>La mise à jour du firmware du VEXO Mixdesk R2 n&apos;est pas terminée : le fichier du firmware est manquant</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>下载固件</source>
        <translation>Télécharger le firmware</translation>
    </message>
    <message>
        <source>恢复</source>
        <translation>Restaurer</translation>
    </message>
</context>
<context>
    <name>ColorArea</name>
    <message>
        <source>色相和饱和度</source>
        <translation>Teinte et saturation</translation>
    </message>
</context>
<context>
    <name>ColorPicker</name>
    <message>
        <source>选择颜色</source>
        <translation>Choisir une couleur</translation>
    </message>
</context>
<context>
    <name>ConsentQuestion</name>
    <message>
        <source>是否与VEXO分享使用数据？</source>
        <translation>Partager les données d&apos;utilisation avec VEXO ?</translation>
    </message>
    <message>
        <source>同意</source>
        <translation>Accepter</translation>
    </message>
    <message>
        <source>不同意</source>
        <translation>Refuser</translation>
    </message>
</context>
<context>
    <name>CustomColorSelect</name>
    <message>
        <source>选择颜色</source>
        <translation>Choisir une couleur</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Réinitialiser</translation>
    </message>
</context>
<context>
    <name>CustomComAppBox</name>
    <message>
        <source>系统浏览器</source>
        <translation>Ouvrir le navigateur</translation>
    </message>
    <message>
        <source>请选择应用</source>
        <translation>Choisissez une application</translation>
    </message>
</context>
<context>
    <name>CustomComAppPlus</name>
    <message>
        <source>没有正在播放声音的应用</source>
        <translation>Aucune application n&apos;émet de son</translation>
    </message>
</context>
<context>
    <name>CustomCycColorSelect</name>
    <message>
        <source>颜色</source>
        <translation>Couleur</translation>
    </message>
    <message>
        <source>添加颜色</source>
        <translation>Ajouter une couleur</translation>
    </message>
    <message>
        <source>删除颜色</source>
        <translation>Supprimer la couleur</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Réinitialiser</translation>
    </message>
</context>
<context>
    <name>CustomMultColorSelect</name>
    <message>
        <source>渐变</source>
        <translation>Dégradé</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Personnalisé</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Réinitialiser</translation>
    </message>
    <message>
        <source>选择颜色</source>
        <translation>Choisir une couleur</translation>
    </message>
</context>
<context>
    <name>CustomerWindow</name>
    <message>
        <source>客服</source>
        <translation>Assistance</translation>
    </message>
    <message>
        <source>联系我们</source>
        <translation>Nous contacter</translation>
    </message>
    <message>
        <source>周一到周日：9:00-12:00，13:00-18:00 (GMT+8)</source>
        <translation>Du lundi au dimanche : 9:00-12:00, 13:00-18:00 (GMT+8)</translation>
    </message>
    <message>
        <source>电话</source>
        <translation>Téléphone</translation>
    </message>
    <message>
        <source>企业微信（请扫码添加客服）</source>
        <translation>WeCom (scannez le code QR pour ajouter le service client)</translation>
    </message>
    <message>
        <source>邮箱</source>
        <translation>E-mail</translation>
    </message>
    <message>
        <source>Support</source>
        <translation>Assistance</translation>
    </message>
    <message>
        <source>Mon to Sun.9:00-12:00,13:00-18:30 (GMT+8)</source>
        <translation>Du lundi au dimanche : 9:00-12:00, 13:00-18:30 (GMT+8)</translation>
    </message>
    <message>
        <source>Online Support</source>
        <translation>Assistance en ligne</translation>
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
        <translation>Micro</translation>
    </message>
    <message>
        <source>监听</source>
        <translation>Écoute</translation>
    </message>
    <message>
        <source>灯光</source>
        <translation>Éclairage</translation>
    </message>
    <message>
        <source>通用</source>
        <translation>Général</translation>
    </message>
    <message>
        <source>设备设置</source>
        <translation>Paramètres de l&apos;appareil</translation>
    </message>
    <message>
        <source>返回</source>
        <translation>Retour</translation>
    </message>
</context>
<context>
    <name>DirectionRow</name>
    <message>
        <source>方向</source>
        <translation>Direction</translation>
    </message>
    <message>
        <source>向左</source>
        <translation>Vers la gauche</translation>
    </message>
    <message>
        <source>向右</source>
        <translation>Vers la droite</translation>
    </message>
</context>
<context>
    <name>EqualizerNames</name>
    <message>
        <source>原声</source>
        <translation>Acoustique</translation>
    </message>
    <message>
        <source>人声增强</source>
        <translation>Boost voix</translation>
    </message>
    <message>
        <source>低切75Hz</source>
        <translation>Coupe-bas 75&#xa0;Hz</translation>
    </message>
    <message>
        <source>低切150Hz</source>
        <translation>Coupe-bas 150&#xa0;Hz</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Personnalisé</translation>
    </message>
    <message>
        <source>平坦</source>
        <translation>Plat</translation>
    </message>
    <message>
        <source>中频增强</source>
        <translation>Boost médiums</translation>
    </message>
    <message>
        <source>低中频增强</source>
        <translation>Boost bas-médiums</translation>
    </message>
</context>
<context>
    <name>EqualizerPresets</name>
    <message>
        <source>均衡器</source>
        <translation>Égaliseur</translation>
    </message>
    <message>
        <source>添加均衡器预设</source>
        <translation>Ajouter un préréglage d&apos;égaliseur</translation>
    </message>
</context>
<context>
    <name>EqualizerRow</name>
    <message>
        <source>关闭</source>
        <translation>Désactivé</translation>
    </message>
</context>
<context>
    <name>EqualizerWindow</name>
    <message>
        <source>均衡器</source>
        <translation>Égaliseur</translation>
    </message>
    <message>
        <source>调节不同频率的音色，让你的声音更清晰、更有个性。</source>
        <translation>Ajustez les différentes fréquences pour une voix plus claire et plus personnelle.</translation>
    </message>
    <message>
        <source>拖动曲线上的点进行调节</source>
        <translation>Faites glisser les points de la courbe</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Supprimer</translation>
    </message>
</context>
<context>
    <name>FirmwareRow</name>
    <message>
        <source>正在检测更新</source>
        <translation>Recherche de mises à jour</translation>
    </message>
    <message>
        <source>有固件可升级</source>
        <translation>– mise à jour du firmware disponible</translation>
    </message>
    <message>
        <source>当前已是最新版本</source>
        <translation>est à jour</translation>
    </message>
    <message>
        <source>立即更新</source>
        <translation>Mettre à jour</translation>
    </message>
    <message>
        <source>检查更新</source>
        <translation>Rechercher des mises à jour</translation>
    </message>
</context>
<context>
    <name>GeneralTab</name>
    <message>
        <source>通用</source>
        <translation>Général</translation>
    </message>
    <message>
        <source>采样率</source>
        <translation>Fréquence d&apos;échantillonnage</translation>
    </message>
    <message>
        <source>指示灯</source>
        <translation>Voyant</translation>
    </message>
</context>
<context>
    <name>HotkeyCard</name>
    <message>
        <source>热键</source>
        <translation>Raccourci</translation>
    </message>
    <message>
        <source>旋钮按键</source>
        <translation>Double appui sur la molette</translation>
    </message>
    <message>
        <source>当Vexo Deck 在后台运行时，双击旋钮可执行自定义功能。</source>
        <translation>Lorsque Vexo Deck s&apos;exécute en arrière-plan, un double appui sur la molette lance la fonction choisie.</translation>
    </message>
    <message>
        <source>系统截图</source>
        <translation>Capture d&apos;écran</translation>
    </message>
    <message>
        <source>系统录屏</source>
        <translation>Enregistrement d&apos;écran</translation>
    </message>
</context>
<context>
    <name>KeyField</name>
    <message>
        <source>请输入键位</source>
        <translation>Saisissez une combinaison</translation>
    </message>
    <message>
        <source>正在录制按键</source>
        <translation>Enregistrement des touches</translation>
    </message>
</context>
<context>
    <name>LightingBackground</name>
    <message>
        <source>背景</source>
        <translation>Arrière-plan</translation>
    </message>
    <message>
        <source>声卡接电时显示背景灯光</source>
        <translation>Éclairage d&apos;arrière-plan quand l&apos;appareil est sous tension</translation>
    </message>
    <message>
        <source>效果</source>
        <translation>Effet</translation>
    </message>
    <message>
        <source>静态</source>
        <translation>Statique</translation>
    </message>
    <message>
        <source>呼吸</source>
        <translation>Respiration</translation>
    </message>
    <message>
        <source>波浪</source>
        <translation>Vague</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Désactivé</translation>
    </message>
</context>
<context>
    <name>LightingIndicators</name>
    <message>
        <source>指示灯</source>
        <translation>Voyant</translation>
    </message>
    <message>
        <source>麦克风增益</source>
        <translation>Gain du micro</translation>
    </message>
    <message>
        <source>监听音量</source>
        <translation>Volume d&apos;écoute</translation>
    </message>
    <message>
        <source>麦克风/电脑音量监听比</source>
        <translation>Mix micro/PC</translation>
    </message>
    <message>
        <source>静音</source>
        <translation>Muet</translation>
    </message>
</context>
<context>
    <name>LightingInput</name>
    <message>
        <source>输入</source>
        <translation>Entrée</translation>
    </message>
    <message>
        <source>话筒输入时，根据音量大小动态显示</source>
        <translation>Suit le volume du micro</translation>
    </message>
</context>
<context>
    <name>LightingOther</name>
    <message>
        <source>其他</source>
        <translation>Autres</translation>
    </message>
    <message>
        <source>亮度</source>
        <translation>Luminosité</translation>
    </message>
    <message>
        <source>关闭灯光</source>
        <translation>Éteindre l&apos;éclairage</translation>
    </message>
    <message>
        <source>关闭显示屏时自动关灯</source>
        <translation>Éteindre l&apos;éclairage quand l&apos;écran s&apos;éteint</translation>
    </message>
    <message>
        <source>关闭RGB灯</source>
        <translation>Éteindre l&apos;éclairage RGB</translation>
    </message>
</context>
<context>
    <name>LightingSub1</name>
    <message>
        <source>颜色</source>
        <translation>Couleur</translation>
    </message>
    <message>
        <source>单色</source>
        <translation>Uni</translation>
    </message>
    <message>
        <source>幻彩</source>
        <translation>Dégradé</translation>
    </message>
</context>
<context>
    <name>LightingSub2</name>
    <message>
        <source>颜色</source>
        <translation>Couleur</translation>
    </message>
    <message>
        <source>单色</source>
        <translation>Uni</translation>
    </message>
    <message>
        <source>循环</source>
        <translation>Boucle</translation>
    </message>
    <message>
        <source>循环顺序</source>
        <translation>Ordre de la boucle</translation>
    </message>
</context>
<context>
    <name>LightingSub3</name>
    <message>
        <source>波浪</source>
        <translation>Vague</translation>
    </message>
</context>
<context>
    <name>LightnessBar</name>
    <message>
        <source>明度</source>
        <translation>Luminosité</translation>
    </message>
</context>
<context>
    <name>MainSettings</name>
    <message>
        <source>输出</source>
        <translation>SORTIES</translation>
    </message>
    <message>
        <source>直播</source>
        <translation>MIX STREAM</translation>
    </message>
    <message>
        <source>监听</source>
        <translation>MIX ÉCOUTE</translation>
    </message>
    <message>
        <source>输入</source>
        <translation>ENTRÉES</translation>
    </message>
    <message>
        <source>添加应用</source>
        <translation>Ajouter une application</translation>
    </message>
    <message>
        <source>点击添加正在播放声音的应用或话筒，单独调节它在直播和监听中的音量</source>
        <translation>Cliquez pour ajouter une application qui émet du son ou un micro, et régler son volume dans le stream et dans l&apos;écoute</translation>
    </message>
</context>
<context>
    <name>MessageDialog</name>
    <message>
        <source>有新版本可升级,是否重启并升级软件?</source>
        <translation>Une nouvelle version est disponible. Redémarrer et mettre à jour&#xa0;?</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>立即升级</source>
        <translation>Mettre à jour</translation>
    </message>
</context>
<context>
    <name>MicrophoneInput</name>
    <message>
        <source>自动增益</source>
        <translation>Gain automatique</translation>
    </message>
    <message>
        <source>开启后，话筒音量将自动调节至最佳增益。</source>
        <translation>Une fois cette option activée, le micro se règle automatiquement sur le gain optimal.</translation>
    </message>
    <message>
        <source>XLR输入</source>
        <translation>Entrée XLR</translation>
    </message>
    <message>
        <source>话筒</source>
        <translation>Micro</translation>
    </message>
    <message>
        <source>增益</source>
        <translation>Gain</translation>
    </message>
    <message>
        <source>提高增益，避免声音过小。
降低增益，避免声音失真。</source>
        <translation>Augmentez le gain si le son est trop faible.
Diminuez le gain si le son sature.</translation>
    </message>
    <message>
        <source>开始检测</source>
        <translation>Démarrer</translation>
    </message>
    <message>
        <source>静音</source>
        <translation>Muet</translation>
    </message>
    <message>
        <source>48V幻象电源</source>
        <translation>Alimentation fantôme 48&#xa0;V</translation>
    </message>
</context>
<context>
    <name>MonitorTab</name>
    <message>
        <source>监听</source>
        <translation>Écoute</translation>
    </message>
    <message>
        <source>麦克风/电脑监听比</source>
        <translation>Mix micro/PC</translation>
    </message>
    <message>
        <source>监听音量</source>
        <translation>Volume d&apos;écoute</translation>
    </message>
</context>
<context>
    <name>MoreButton</name>
    <message>
        <source>更多</source>
        <translation>Plus</translation>
    </message>
    <message>
        <source>帮助</source>
        <translation>Centre d&apos;aide</translation>
    </message>
    <message>
        <source>客服</source>
        <translation>Assistance</translation>
    </message>
    <message>
        <source>设置</source>
        <translation>Paramètres</translation>
    </message>
</context>
<context>
    <name>MorePopup</name>
    <message>
        <source>更多</source>
        <translation>Plus</translation>
    </message>
</context>
<context>
    <name>ResetRow</name>
    <message>
        <source>恢复出厂</source>
        <translation>Réglages d&apos;usine</translation>
    </message>
</context>
<context>
    <name>ResetWindow</name>
    <message>
        <source>恢复出厂</source>
        <translation>Réglages d&apos;usine</translation>
    </message>
    <message>
        <source>恢复出厂设置后，所有设置将恢复至默认状态，确定要恢复出厂设置吗？</source>
        <translation>Tous les réglages reviendront à leur valeur d&apos;usine. Voulez-vous continuer ?</translation>
    </message>
    <message>
        <source>设置中</source>
        <translation>En cours</translation>
    </message>
    <message>
        <source>成功</source>
        <translation>Terminé</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Annuler</translation>
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
        <translation>Paramètres</translation>
    </message>
    <message>
        <source>关于 Vexo Deck</source>
        <translation>À propos de Vexo Deck</translation>
    </message>
    <message>
        <source>自动安装最新版本</source>
        <translation>Installer automatiquement les mises à jour</translation>
    </message>
    <message>
        <source>如关闭自动安装，你仍会收到新版本提示，但需手动点击“立即升级”后才可升级</source>
        <translation>Si l&apos;installation automatique est désactivée, vous serez toujours informé des nouvelles versions, mais vous devrez cliquer sur « Mettre à jour » pour les installer</translation>
    </message>
    <message>
        <source>语言</source>
        <translation>Langue</translation>
    </message>
    <message>
        <source>分析</source>
        <translation>Statistiques</translation>
    </message>
    <message>
        <source>与VEXO分享使用数据</source>
        <translation>Partager les données d&apos;utilisation avec VEXO</translation>
    </message>
    <message>
        <source>隐私政策</source>
        <translation>Politique de confidentialité</translation>
    </message>
</context>
<context>
    <name>StripHead</name>
    <message>
        <source>删除</source>
        <translation>Supprimer</translation>
    </message>
    <message>
        <source>设备设置</source>
        <translation>Paramètres de l&apos;appareil</translation>
    </message>
</context>
<context>
    <name>SwatchGrid</name>
    <message>
        <source>添加颜色</source>
        <translation>Ajouter une couleur</translation>
    </message>
</context>
<context>
    <name>ThresholdBlock</name>
    <message>
        <source>低</source>
        <translation>Faible</translation>
    </message>
    <message>
        <source>中</source>
        <translation>Moyen</translation>
    </message>
    <message>
        <source>高</source>
        <translation>Élevé</translation>
    </message>
</context>
<context>
    <name>TitleBar</name>
    <message>
        <source>最小化</source>
        <translation>Réduire</translation>
    </message>
    <message>
        <source>还原</source>
        <translation>Restaurer</translation>
    </message>
    <message>
        <source>最大化</source>
        <translation>Agrandir</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Fermer</translation>
    </message>
</context>
<context>
    <name>UpgradeView</name>
    <message>
        <source>请不要断开设备连接或关闭应用。
升级期间监听比灯亮属于正常自检，不会修改设置。</source>
        <translation>Ne débranchez pas l&apos;appareil et ne fermez pas l&apos;application.
Le voyant du mix micro/PC s&apos;allume pendant la mise à jour&#xa0;: c&apos;est un autotest, vos réglages ne changent pas.</translation>
    </message>
    <message>
        <source>升级中，请不要断开设备连接或关闭应用</source>
        <translation>Mise à jour en cours. Ne débranchez pas l&apos;appareil et ne fermez pas l&apos;application</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>重试</source>
        <translation>Réessayer</translation>
    </message>
</context>
<context>
    <name>UpgradeWindow</name>
    <message>
        <source>软件升级</source>
        <translation>Mise à jour du logiciel</translation>
    </message>
    <message>
        <source>安装程序无法启动，请从下载页面获取最新版本</source>
        <translation>Le programme d&apos;installation n&apos;a pas pu démarrer. Récupérez la dernière version sur la page de téléchargement</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>打开下载页面</source>
        <translation>Ouvrir la page de téléchargement</translation>
    </message>
</context>
<context>
    <name>UrlField</name>
    <message>
        <source>请输入URL</source>
        <translation>Saisissez une URL</translation>
    </message>
</context>
<context>
    <name>WelcomeLayout</name>
    <message>
        <source>正在下载最新固件</source>
        <translation>Téléchargement du dernier firmware</translation>
    </message>
    <message>
        <source>新版本下载失败，请检查网络环境或稍后重试</source>
        <translation>Échec du téléchargement de la nouvelle version. Vérifiez votre connexion ou réessayez plus tard</translation>
    </message>
    <message>
        <source>正在安装最新固件</source>
        <translation>Installation du dernier firmware</translation>
    </message>
    <message>
        <source>升级失败</source>
        <translation>Échec de la mise à jour</translation>
    </message>
    <message>
        <source>升级成功</source>
        <translation>Mise à jour réussie</translation>
    </message>
</context>
<context>
    <name>WelcomeView</name>
    <message>
        <source>VEXO 设备</source>
        <translation>Appareil VEXO</translation>
    </message>
    <message>
        <source>连接你的 VEXO 设备</source>
        <translation>Connectez votre appareil VEXO</translation>
    </message>
    <message>
        <source>Vexo Deck 可将你的兼容设备变身为强大中枢
支持低延迟混音，体验高清音质，享受每一次声音表达</source>
        <translation>Vexo Deck transforme votre appareil compatible en un puissant centre de contrôle.
Mixage à faible latence, son limpide&#xa0;: exprimez chaque voix sans effort.</translation>
    </message>
    <message>
        <source>已连接</source>
        <translation>Connecté</translation>
    </message>
    <message>
        <source>开启高清音质之旅</source>
        <translation>Commencer</translation>
    </message>
</context>
<context>
    <name>WindowFrame</name>
    <message>
        <source>正在安装固件，现在退出会中断升级。确定要退出吗？</source>
        <translation>Le firmware est en cours d&apos;installation. Quitter maintenant interrompt la mise à jour. Quitter quand même ?</translation>
    </message>
</context>
</TS>
